#include "emulator/pe_image.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace ce {

namespace {

constexpr u32 kExport = 0, kImport = 1, kRelocation = 5;
constexpr u16 kDllFlag = 0x2000;
constexpr u32 kOrdinalFlag = 0x80000000;
constexpr u16 kHighLow = 3;
constexpr u32 kWritable = 0x80000000;

template <typename T>
T At(const std::vector<u8>& bytes, u64 offset, const std::string& path) {
    if (offset + sizeof(T) > bytes.size()) throw Failure(path + ": an offset points outside the image");
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

std::string TextAt(const std::vector<u8>& bytes, u32 offset, const std::string& path) {
    std::string text;
    while (const char character = At<char>(bytes, offset++, path)) text.push_back(character);
    return text;
}

void ReadImports(PeImage& image, u32 table) {
    const auto& bytes = image.memory;
    for (u32 at = table; At<u32>(bytes, at + 12, image.path) != 0; at += 20) {
        const u32 lookup = At<u32>(bytes, at, image.path);
        const u32 slots = At<u32>(bytes, at + 16, image.path);
        const std::string library = TextAt(bytes, At<u32>(bytes, at + 12, image.path), image.path);
        for (u32 i = 0; const u32 word = At<u32>(bytes, lookup + 4 * i, image.path); ++i) {
            ImportSlot slot{library, "", 0, slots + 4 * i};
            At<u32>(bytes, slot.rva, image.path);  // what is bound is written there
            if (word & kOrdinalFlag) {
                slot.ordinal = static_cast<u16>(word);
            } else {
                slot.name = TextAt(bytes, word + 2, image.path);
            }
            image.imports.push_back(slot);
        }
    }
}

void ReadExports(PeImage& image, u32 table) {
    const auto& bytes = image.memory;
    const u32 base = At<u32>(bytes, table + 16, image.path);
    const u32 count = At<u32>(bytes, table + 20, image.path);
    const u32 names = At<u32>(bytes, table + 24, image.path);
    const u32 functionsAt = At<u32>(bytes, table + 28, image.path);
    const u32 namesAt = At<u32>(bytes, table + 32, image.path);
    const u32 ordinalsAt = At<u32>(bytes, table + 36, image.path);
    for (u32 i = 0; i < count; ++i) {
        const u32 rva = At<u32>(bytes, functionsAt + 4 * i, image.path);
        if (rva) image.exportsByOrdinal[static_cast<u16>(base + i)] = rva;
    }
    for (u32 i = 0; i < names; ++i) {
        const std::string name = TextAt(bytes, At<u32>(bytes, namesAt + 4 * i, image.path), image.path);
        const u16 index = At<u16>(bytes, ordinalsAt + 2 * i, image.path);
        image.exports[name] = At<u32>(bytes, functionsAt + 4 * index, image.path);
    }
}

void ReadRelocations(PeImage& image, u32 table, u32 size) {
    const auto& bytes = image.memory;
    for (u32 at = table; at + 8 <= table + size;) {
        const u32 page = At<u32>(bytes, at, image.path);
        const u32 length = At<u32>(bytes, at + 4, image.path);
        if (length < 8) throw Failure(image.path + ": a relocation block is shorter than its head");
        for (u32 entry = at + 8; entry + 2 <= at + length; entry += 2) {
            const u16 word = At<u16>(bytes, entry, image.path);
            if (word >> 12 == 0) continue;
            if (word >> 12 != kHighLow) throw Failure(image.path + ": a relocation of an unknown type");
            image.relocations.push_back(page + (word & 0xFFF));
        }
        at += length;
    }
}

}  // namespace

PeImage PeImage::Read(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw Failure(path + ": cannot be opened");
    const std::vector<u8> file{std::istreambuf_iterator<char>(stream), {}};
    PeImage image;
    image.path = path;
    const u32 header = At<u32>(file, 0x3C, path);
    if (At<u16>(file, 0, path) != 0x5A4D || At<u32>(file, header, path) != 0x4550)
        throw Failure(path + ": no PE image");
    image.machine = At<u16>(file, header + 4, path);
    image.isProgram = !(At<u16>(file, header + 22, path) & kDllFlag);
    const u16 sections = At<u16>(file, header + 6, path);
    const u32 optional = header + 24;
    image.entry = At<u32>(file, optional + 16, path);
    image.base = At<u32>(file, optional + 28, path);
    image.size = At<u32>(file, optional + 56, path);
    image.majorVersion = At<u16>(file, optional + 48, path);
    image.subsystem = At<u16>(file, optional + 68, path);
    if (image.size > 0x4000000) throw Failure(path + ": the image's size is absurd");
    image.memory.resize(image.size);
    for (u32 i = 0; i < sections; ++i) {
        const u32 at = optional + At<u16>(file, header + 20, path) + 40 * i;
        const u32 rva = At<u32>(file, at + 12, path);
        const u32 size = At<u32>(file, at + 8, path);
        const u32 raw = std::min(At<u32>(file, at + 16, path), size);
        const u32 offset = At<u32>(file, at + 20, path);
        if (static_cast<u64>(offset) + raw > file.size() || static_cast<u64>(rva) + size > image.size) {
            throw Failure(path + ": a section lies outside the image");
        }
        if (raw) std::memcpy(image.memory.data() + rva, file.data() + offset, raw);
        image.sections.push_back({rva, size, (At<u32>(file, at + 36, path) & kWritable) != 0});
    }
    const auto directory = [&](u32 index) { return At<u32>(file, optional + 96 + 8 * index, path); };
    if (const u32 table = directory(kImport)) ReadImports(image, table);
    if (const u32 table = directory(kExport)) ReadExports(image, table);
    if (const u32 table = directory(kRelocation)) {
        ReadRelocations(image, table, At<u32>(file, optional + 96 + 8 * kRelocation + 4, path));
    }
    return image;
}

void PeImage::Relocate(u32 newBase) {
    for (const u32 rva : relocations) {
        const u32 word = At<u32>(memory, rva, path) + (newBase - base);
        std::memcpy(memory.data() + rva, &word, 4);
    }
    base = newBase;
}

}  // namespace ce
