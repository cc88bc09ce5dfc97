// The registry: a table of values by their full path.
#include <algorithm>
#include <cstring>

#include "emulator/process.h"
#include "emulator/registry.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kFirstRoot = 0x80000000, kLastRoot = 0x80000003;

struct RegistryKey final : Object {
    std::string Describe() const override { return "registry key " + std::string(path.begin(), path.end()); }
    std::u16string path;
};

std::u16string Lower(std::u16string text) {
    for (char16_t& unit : text) {
        if (unit < 0x80) unit = static_cast<char16_t>(std::tolower(unit));
    }
    return text;
}

std::u16string RootPath(u32 root) {
    return std::u16string(1, static_cast<char16_t>(u'0' + (root - kFirstRoot)));
}

bool IsRoot(u32 key) {
    return key >= kFirstRoot && key <= kLastRoot;
}

bool PathOf(Process& p, u32 key, u32 nameAt, std::u16string& path) {
    if (IsRoot(key)) {
        path = RootPath(key);
    } else if (const auto open = p.FromHandle<RegistryKey>(key)) {
        path = open->path;
    } else {
        return false;
    }
    const std::u16string name = nameAt ? Lower(p.machine.Text(nameAt)) : std::u16string();
    if (!name.empty()) path += u'\\' + name;
    return true;
}

u32 OpenKey(Process& p, const std::u16string& path, u32 out) {
    auto key = std::make_shared<RegistryKey>();
    key->path = path;
    p.machine.Write(out, p.AddHandle(key));
    return 0;
}

}  // namespace

void SetRegistryValue(Process& process, u32 root, std::u16string_view key, std::u16string_view name, u32 type,
                      std::vector<u8> contents) {
    auto& registry = process.Attachment<Registry>("registry");
    std::u16string path = RootPath(root);
    std::u16string rest = Lower(std::u16string(key));
    // Every key on the way exists too.
    for (size_t at = 0; at != std::u16string::npos;) {
        const size_t end = rest.find(u'\\', at);
        path += u'\\' + rest.substr(at, end == std::u16string::npos ? end : end - at);
        registry.keys.insert(path);
        at = end == std::u16string::npos ? end : end + 1;
    }
    registry.values[{path, Lower(std::u16string(name))}] = {type, std::move(contents)};
}

void BindRegistry(Process& p) {
    auto& registry = p.Attachment<Registry>("registry");
    p.Bind(kLibrary, "RegOpenKeyExW", [&p, &registry](u32 key, u32 name, u32, u32, u32 out) -> u32 {
        std::u16string path;
        if (!PathOf(p, key, name, path)) return kErrorInvalidHandle;
        if (!registry.keys.contains(path) && path.size() > 1) return kErrorFileNotFound;
        return OpenKey(p, path, out);
    });
    p.Bind(kLibrary, "RegCreateKeyExW",
           [&p, &registry](u32 key, u32 name, u32, u32, u32, u32, u32, u32 out, u32 dispositionAt) -> u32 {
               std::u16string path;
               if (!PathOf(p, key, name, path)) return kErrorInvalidHandle;
               for (size_t end = path.find(u'\\', 2); end != std::u16string::npos;
                    end = path.find(u'\\', end + 1)) {
                   registry.keys.insert(path.substr(0, end));
               }
               const bool isNew = registry.keys.insert(path).second;
               if (dispositionAt) p.machine.Write(dispositionAt, isNew ? 1u : 2u);
               return OpenKey(p, path, out);
           });
    p.Bind(kLibrary, "RegCloseKey",
           [&p](u32 key) -> u32 { return IsRoot(key) || p.CloseHandle(key) ? 0 : kErrorInvalidHandle; });
    p.Bind(kLibrary, "RegQueryValueExW",
           [&p, &registry](u32 key, u32 name, u32, u32 typeAt, u32 buffer, u32 sizeAt) -> u32 {
               std::u16string path;
               if (!PathOf(p, key, 0, path)) return kErrorInvalidHandle;
               const auto found = registry.values.find({path, name ? Lower(p.machine.Text(name)) : u""});
               if (found == registry.values.end()) return kErrorFileNotFound;
               const auto& [type, contents] = found->second;
               if (typeAt) p.machine.Write(typeAt, type);
               const u32 room = sizeAt ? p.machine.Read<u32>(sizeAt) : 0;
               const u32 size = static_cast<u32>(contents.size());
               if (sizeAt) p.machine.Write(sizeAt, size);
               if (!buffer) return 0;
               if (room < size) return kErrorMoreData;
               std::copy(contents.begin(), contents.end(), p.machine.Bytes(buffer, size));
               return 0;
           });
    p.Bind(kLibrary, "RegSetValueExW",
           [&p, &registry](u32 key, u32 name, u32, u32 type, u32 data, u32 size) -> u32 {
               std::u16string path;
               if (!PathOf(p, key, 0, path)) return kErrorInvalidHandle;
               const u8* bytes = p.machine.Bytes(data, size);
               registry.values[{path, name ? Lower(p.machine.Text(name)) : u""}] = {
                   type, std::vector<u8>(bytes, bytes + size)};
               return 0;
           });
    p.Bind(kLibrary, "RegDeleteKeyW", [&p, &registry](u32 key, u32 name) -> u32 {
        std::u16string path;
        if (!PathOf(p, key, name, path)) return kErrorInvalidHandle;
        const auto below = [&](const std::u16string& other) {
            return other == path || other.starts_with(path + u'\\');
        };
        if (!registry.keys.contains(path)) return kErrorFileNotFound;
        std::erase_if(registry.keys, below);
        std::erase_if(registry.values, [&](const auto& value) { return below(value.first.first); });
        return 0;
    });
}

}  // namespace ce
