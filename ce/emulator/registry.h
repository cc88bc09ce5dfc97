// The emulated device's registry, for tests that prepare or inspect it.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "emulator/process.h"

namespace ce {

constexpr u32 kLocalMachine = 0x80000002, kClassesRoot = 0x80000000;
constexpr u32 kRegistryText = 1, kRegistryNumber = 4;

struct Registry {
    struct Value {
        u32 type;
        std::vector<u8> contents;
        std::u16string name = {};  // as it was written first; the table's own is in lower case
    };
    // Paths begin with the root's last digit and are in lower case.
    std::set<std::u16string> keys;
    std::map<std::u16string, std::u16string> spelled;                   // keys as they were written first
    std::map<std::pair<std::u16string, std::u16string>, Value> values;  // (key, name)
};

// The path of a key below a root. Adding and removing take such paths, in any letters.
std::u16string RegistryPath(u32 root, std::u16string_view key);
void AddRegistryKey(Process& process, const std::u16string& path);
bool RemoveRegistryKey(Process& process, const std::u16string& path);
void SetRegistryValue(Process& process, u32 root, std::u16string_view key, std::u16string_view name, u32 type,
                      std::vector<u8> contents);

}  // namespace ce
