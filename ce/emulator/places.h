// Names for addresses: from a module's list of symbols, or from its exports where there is no such list.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace ce {

class Places {
  public:
    using Address = std::uint32_t;

    struct Module {
        std::string name;
        Address base, size;
    };
    // `symbolFile` need not exist; `exports` are relative to the base.
    void Add(const Module& module, const std::string& symbolFile,
             const std::map<std::string, Address>& exports);
    // "Function+12 (module.dll, 0x...)", or what is known of it.
    std::string Describe(Address address) const;
    bool IsCode(Address address) const { return address >= codeLow && address < codeHigh; }
    Address CodeLow() const { return codeLow; }
    Address CodeHigh() const { return codeHigh; }

  private:
    struct Symbol {
        Address size;
        std::string name;
    };
    bool AddSymbols(const std::string& symbolFile, Address base);
    void AddCode(Address low, Address high);

    std::map<Address, Module> modules;
    std::map<Address, Symbol> symbols;
    Address codeLow = 0xFFFFFFFF, codeHigh = 0;
};

std::string Hex(std::uint32_t value);

}  // namespace ce
