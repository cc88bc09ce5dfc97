#include "emulator/places.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace ce {

std::string Hex(std::uint32_t value) {
    char text[12];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

namespace {

std::string Demangled(const std::string& name) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> plain(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
    return status == 0 ? plain.get() : name;
}

}  // namespace

void Places::AddCode(Address low, Address high) {
    codeLow = std::min(codeLow, low);
    codeHigh = std::max(codeHigh, high);
}

bool Places::AddSymbols(const std::string& symbolFile, Address base) {
    std::ifstream file(symbolFile);
    Address offset = 0, size = 0;
    char kind = 0;
    std::string name;
    bool any = false;
    while (file >> std::hex >> offset >> size >> kind >> name) {
        symbols[base + offset] = {size, name};
        any = true;
        if (kind == 'F') AddCode(base + offset, base + offset + size);
    }
    return any;
}

void Places::Add(const Module& module, const std::string& symbolFile,
                 const std::map<std::string, Address>& exports) {
    modules[module.base] = module;
    if (AddSymbols(symbolFile, module.base)) return;
    AddCode(module.base, module.base + module.size);
    std::map<Address, std::string> byAddress;
    for (const auto& [name, offset] : exports) byAddress[offset] = name;
    for (auto it = byAddress.begin(); it != byAddress.end(); ++it) {
        const auto next = std::next(it);
        symbols[module.base + it->first] = {(next == byAddress.end() ? module.size : next->first) - it->first,
                                            it->second};
    }
}

std::string Places::Describe(Address address) const {
    const auto after = modules.upper_bound(address);
    if (after == modules.begin()) return Hex(address);
    const Module& module = std::prev(after)->second;
    if (address - module.base >= module.size) return Hex(address);
    const auto afterSymbol = symbols.upper_bound(address);
    if (afterSymbol != symbols.begin()) {
        const auto& [start, symbol] = *std::prev(afterSymbol);
        if (start >= module.base && address - start < symbol.size) {
            const std::string offset = address == start ? "" : "+" + std::to_string(address - start);
            return Demangled(symbol.name) + offset + " (" + module.name + ", " + Hex(address) + ")";
        }
    }
    return module.name + "+" + Hex(address - module.base) + " (" + Hex(address) + ")";
}

}  // namespace ce
