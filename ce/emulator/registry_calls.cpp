// The registry: a table of values by their full path.
#include <algorithm>

#include "emulator/process.h"
#include "emulator/registry.h"
#include "emulator/text.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kErrorNoMoreItems = 259;
constexpr u32 kFirstRoot = 0x80000000, kLastRoot = 0x80000003;

struct RegistryKey final : Object {
    std::string Describe() const override { return "registry key " + std::string(path.begin(), path.end()); }
    const char* Closer() const override { return "RegCloseKey"; }
    std::u16string path;
};

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
    const std::u16string name = nameAt ? LowerCase(p.machine.Text(nameAt)) : std::u16string();
    if (!name.empty()) path += u'\\' + name;
    return true;
}

// A path that ends with a backslash, or the root alone, in the letters in which it was written first.
std::u16string Spelled(Registry& registry, const std::u16string& path) {
    const auto found = registry.spelled.find(path.substr(0, path.size() - 1));
    return found == registry.spelled.end() ? path : found->second + u'\\';
}

u32 OpenKey(Process& p, const std::u16string& path, u32 out) {
    auto key = std::make_shared<RegistryKey>();
    key->path = path;
    p.machine.Write(out, p.AddHandle(key));
    return 0;
}

}  // namespace

std::u16string RegistryPath(u32 root, std::u16string_view key) {
    return RootPath(root) + u'\\' + std::u16string(key);
}

// Every key on the way exists too.
void AddRegistryKey(Process& process, const std::u16string& path) {
    auto& registry = process.Attachment<Registry>("registry");
    for (size_t end = path.find(u'\\', 2);; end = path.find(u'\\', end + 1)) {
        const std::u16string key = path.substr(0, end);
        registry.keys.insert(LowerCase(key));
        registry.spelled.try_emplace(LowerCase(key), key);
        if (end == std::u16string::npos) break;
    }
}

bool RemoveRegistryKey(Process& process, const std::u16string& path) {
    auto& registry = process.Attachment<Registry>("registry");
    const std::u16string removed = LowerCase(path);
    const auto below = [&](const std::u16string& other) {
        return other == removed || other.starts_with(removed + u'\\');
    };
    if (!registry.keys.contains(removed)) return false;
    std::erase_if(registry.keys, below);
    std::erase_if(registry.values, [&](const auto& value) { return below(value.first.first); });
    return true;
}

void SetRegistryValue(Process& process, u32 root, std::u16string_view key, std::u16string_view name, u32 type,
                      std::vector<u8> contents) {
    const std::u16string path = RegistryPath(root, key);
    AddRegistryKey(process, path);
    process.Attachment<Registry>("registry").values[{LowerCase(path), LowerCase(std::u16string(name))}] = {
        type, std::move(contents), std::u16string(name)};
}

namespace {

// The names of the keys right below, in their order.
std::vector<std::u16string> SubKeys(Registry& registry, const std::u16string& path) {
    std::vector<std::u16string> names;
    for (const std::u16string& key : registry.keys) {
        if (!key.starts_with(path + u'\\') || key.find(u'\\', path.size() + 1) != std::u16string::npos)
            continue;
        names.push_back(registry.spelled[key].substr(path.size() + 1));
    }
    return names;
}

void BindEnumeration(Process& p) {
    auto& registry = p.Attachment<Registry>("registry");
    p.Bind(kLibrary, "RegEnumKeyExW",
           [&p, &registry](u32 key, u32 index, u32 name, u32 lengthAt, u32, u32, u32, u32) -> u32 {
               std::u16string path;
               if (!PathOf(p, key, 0, path)) return kErrorInvalidHandle;
               const auto names = SubKeys(registry, path);
               if (index >= names.size()) return kErrorNoMoreItems;
               if (p.machine.Read<u32>(lengthAt) < names[index].size() + 1) return kErrorMoreData;
               WriteText(p.machine, name, names[index]);
               return p.machine.Write(lengthAt, static_cast<u32>(names[index].size())), 0;
           });
    p.Bind(kLibrary, "RegEnumValueW",
           [&p, &registry](u32 key, u32 index, u32 name, u32 lengthAt, u32, u32 typeAt, u32 data,
                           u32 sizeAt) -> u32 {
               std::u16string path;
               if (!PathOf(p, key, 0, path)) return kErrorInvalidHandle;
               auto value = registry.values.lower_bound({path, u""});
               for (; index && value != registry.values.end(); --index) ++value;
               if (value == registry.values.end() || value->first.first != path) return kErrorNoMoreItems;
               const auto& [type, contents, spelled] = value->second;
               const std::u16string& shown = spelled.empty() ? value->first.second : spelled;
               const u32 size = static_cast<u32>(contents.size());
               if (p.machine.Read<u32>(lengthAt) < shown.size() + 1) return kErrorMoreData;
               WriteText(p.machine, name, shown);
               p.machine.Write(lengthAt, static_cast<u32>(shown.size()));
               if (typeAt) p.machine.Write(typeAt, type);
               if (data && p.machine.Read<u32>(sizeAt) < size) return kErrorMoreData;
               if (data) std::copy(contents.begin(), contents.end(), p.machine.Bytes(data, size));
               if (sizeAt) p.machine.Write(sizeAt, size);
               return 0;
           });
    p.Bind(kLibrary, "RegDeleteValueW", [&p, &registry](u32 key, u32 name) -> u32 {
        std::u16string path;
        if (!PathOf(p, key, 0, path)) return kErrorInvalidHandle;
        return registry.values.erase({path, name ? LowerCase(p.machine.Text(name)) : u""})
                   ? 0
                   : kErrorFileNotFound;
    });
}

}  // namespace

void BindRegistry(Process& p) {
    BindEnumeration(p);
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
               const bool isNew = !registry.keys.contains(path);
               const std::u16string parent =
                   path.substr(0, path.size() - (name ? p.machine.Text(name).size() : 0));
               AddRegistryKey(p, name ? Spelled(registry, parent) + p.machine.Text(name) : path);
               if (dispositionAt) p.machine.Write(dispositionAt, isNew ? 1u : 2u);
               return OpenKey(p, path, out);
           });
    p.Bind(kLibrary, "RegCloseKey", [&p](u32 key) -> u32 {
        return IsRoot(key) || p.CloseHandle(key, "RegCloseKey") ? 0 : kErrorInvalidHandle;
    });
    p.Bind(kLibrary, "RegQueryValueExW",
           [&p, &registry](u32 key, u32 name, u32, u32 typeAt, u32 buffer, u32 sizeAt) -> u32 {
               std::u16string path;
               if (!PathOf(p, key, 0, path)) return kErrorInvalidHandle;
               const auto found = registry.values.find({path, name ? LowerCase(p.machine.Text(name)) : u""});
               if (found == registry.values.end()) return kErrorFileNotFound;
               const auto& [type, contents, spelled] = found->second;
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
               const std::u16string spelled = name ? p.machine.Text(name) : u"";
               registry.values[{path, LowerCase(spelled)}] = {type, std::vector<u8>(bytes, bytes + size),
                                                              spelled};
               return 0;
           });
    p.Bind(kLibrary, "RegDeleteKeyW", [&p](u32 key, u32 name) -> u32 {
        std::u16string path;
        if (!PathOf(p, key, name, path)) return kErrorInvalidHandle;
        return RemoveRegistryKey(p, path) ? 0 : kErrorFileNotFound;
    });
}

}  // namespace ce
