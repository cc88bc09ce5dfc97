// A Windows CE image file, read for loading. Every offset in the file is checked: damaged files give a
// Failure that says what is wrong.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "emulator/machine.h"

namespace ce {

struct ImportSlot {
    std::string library;
    std::string name;  // empty: by ordinal
    u16 ordinal = 0;
    u32 rva = 0;
};

struct PeSection {
    u32 rva = 0, size = 0;
    bool isWritable = false;
};

struct PeImage {
    std::string path;
    u32 base = 0;
    u32 size = 0;
    u32 entry = 0;
    u16 machine = 0, subsystem = 0, majorVersion = 0;
    bool isProgram = false;  // else a DLL
    std::vector<u8> memory;  // as mapped, not relocated
    std::vector<PeSection> sections;
    std::vector<u32> relocations;
    std::vector<ImportSlot> imports;
    std::map<std::string, u32> exports;  // by name
    std::map<u16, u32> exportsByOrdinal;

    static PeImage Read(const std::string& path);
    void Relocate(u32 newBase);
};

}  // namespace ce
