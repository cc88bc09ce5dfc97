// Strings, wide and narrow.
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "emulator/process.h"
#include "emulator/text.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

i32 Compare(const std::u16string& one, const std::u16string& other, bool ignoreCase,
            size_t length = std::u16string::npos) {
    for (size_t i = 0;; ++i) {
        if (i == length) return 0;
        char16_t a = i < one.size() ? one[i] : u'\0', b = i < other.size() ? other[i] : u'\0';
        if (ignoreCase) a = LowerCase(a), b = LowerCase(b);
        if (a != b) return a < b ? -1 : 1;
        if (!a) return 0;
    }
}

void BindWide(Process& p) {
    auto& m = p.machine;
    p.Bind(kLibrary, "wcslen", [&m](u32 text) { return static_cast<u32>(m.Text(text).size()); });
    p.Bind(kLibrary, "wcsncpy", [&m](u32 to, u32 from, u32 count) {
        const std::u16string text = m.Text(from).substr(0, count);
        for (u32 i = 0; i < count; ++i)
            m.Write(to + 2 * i, static_cast<u16>(i < text.size() ? text[i] : u'\0'));
        return to;
    });
    const auto end = [&m](u32 text) { return text + 2 * static_cast<u32>(m.Text(text).size()); };
    p.Bind(kLibrary, "wcscpy", [&m](u32 to, u32 from) { return WriteText(m, to, m.Text(from)), to; });
    p.Bind(kLibrary, "wcscat",
           [&m, end](u32 to, u32 from) { return WriteText(m, end(to), m.Text(from)), to; });
    p.Bind(kLibrary, "wcsncat", [&m, end](u32 to, u32 from, u32 count) {
        return WriteText(m, end(to), m.Text(from).substr(0, count)), to;
    });
    const auto found = [](u32 text, size_t at) {
        return at == std::u16string::npos ? 0 : text + 2 * static_cast<u32>(at);
    };
    // The end of the text is found as well.
    p.Bind(kLibrary, "wcschr", [&m, found](u32 text, u32 unit) {
        return found(text, (m.Text(text) + u'\0').find(static_cast<char16_t>(unit)));
    });
    p.Bind(kLibrary, "wcsrchr", [&m, found](u32 text, u32 unit) {
        return found(text, (m.Text(text) + u'\0').rfind(static_cast<char16_t>(unit)));
    });
    p.Bind(kLibrary, "wcsstr",
           [&m, found](u32 text, u32 part) { return found(text, m.Text(text).find(m.Text(part))); });
    p.Bind(kLibrary, "wcsncmp",
           [&m](u32 one, u32 other, u32 count) { return Compare(m.Text(one), m.Text(other), false, count); });
    p.Bind(kLibrary, "_wcsnicmp",
           [&m](u32 one, u32 other, u32 count) { return Compare(m.Text(one), m.Text(other), true, count); });
    p.Bind(kLibrary, "lstrcmpW",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), false); });
    p.Bind(kLibrary, "lstrcmpiW",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), true); });
    p.Bind(kLibrary, "towlower", [](u32 unit) -> u32 { return LowerCase(static_cast<char16_t>(unit)); });
    p.Bind(kLibrary, "towupper", [](u32 unit) -> u32 {
        return unit < 0x80 ? static_cast<u32>(std::toupper(static_cast<int>(unit))) : unit;
    });
    // A single character, or the address of a text that is changed in its place.
    p.Bind(kLibrary, "CharLowerW", [&m](u32 text) -> u32 {
        if (text < 0x10000) return LowerCase(static_cast<char16_t>(text));
        return WriteText(m, text, LowerCase(m.Text(text))), text;
    });
    p.Bind(kLibrary, "_wcslwr", [&m](u32 text) { return WriteText(m, text, LowerCase(m.Text(text))), text; });
    p.Bind(kLibrary, "wcscmp",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), false); });
    p.Bind(kLibrary, "_wcsicmp",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), true); });
    p.Bind(kLibrary, "_wcsdup", [&p](u32 text) {
        const std::u16string copied = p.machine.Text(text);
        const u32 block = p.heap.Allocate(static_cast<u32>(2 * copied.size() + 2));
        if (block) WriteText(p.machine, block, copied);
        return block;
    });
    p.Bind(kLibrary, "iswctype", [](u32 unit, u32 type) -> u32 {
        if (unit >= 0x80) return 0;
        const int c = static_cast<int>(unit);
        const u32 is = (std::isupper(c) ? 1u : 0) | (std::islower(c) ? 2u : 0) | (std::isdigit(c) ? 4u : 0) |
                       (std::isspace(c) ? 8u : 0) | (std::ispunct(c) ? 16u : 0) |
                       (std::iscntrl(c) ? 32u : 0) | (std::isxdigit(c) ? 128u : 0) |
                       (std::isalpha(c) ? 256u : 0);
        return is & type;
    });
    // The end of the number is told where it is asked for.
    const auto number = [&m](u32 text, u32 endAt, u32 base, bool isSigned) -> u32 {
        const std::u16string wide = m.Text(text);
        const std::string narrow(wide.begin(), wide.end());
        char* last = nullptr;
        const u32 value =
            isSigned ? static_cast<u32>(std::clamp<long long>(
                           std::strtoll(narrow.c_str(), &last, static_cast<int>(base)), INT32_MIN, INT32_MAX))
                     : static_cast<u32>(std::min<unsigned long long>(
                           std::strtoull(narrow.c_str(), &last, static_cast<int>(base)), UINT32_MAX));
        if (endAt) m.Write(endAt, text + 2 * static_cast<u32>(last - narrow.c_str()));
        return value;
    };
    p.Bind(kLibrary, "wcstol",
           [number](u32 text, u32 endAt, u32 base) { return number(text, endAt, base, true); });
    p.Bind(kLibrary, "wcstoul",
           [number](u32 text, u32 endAt, u32 base) { return number(text, endAt, base, false); });
    p.Bind(kLibrary, "_wtol", [number](u32 text) { return number(text, 0, 10, true); });
}

void BindNarrow(Process& p) {
    auto& m = p.machine;
    p.Bind(kLibrary, "strlen", [&m](u32 text) { return static_cast<u32>(m.Narrow(text).size()); });
    p.Bind(kLibrary, "strcmp",
           [&m](u32 one, u32 other) -> i32 { return m.Narrow(one).compare(m.Narrow(other)); });
    p.Bind(kLibrary, "strncpy", [&m](u32 to, u32 from, u32 count) {
        std::strncpy(reinterpret_cast<char*>(m.Bytes(to, count)), m.Narrow(from).c_str(), count);
        return to;
    });
    const auto write = [&m](u32 to, const std::string& text) {
        std::memcpy(m.Bytes(to, static_cast<u32>(text.size() + 1)), text.c_str(), text.size() + 1);
        return to;
    };
    p.Bind(kLibrary, "strcpy", [&m, write](u32 to, u32 from) { return write(to, m.Narrow(from)); });
    p.Bind(kLibrary, "strcat",
           [&m, write](u32 to, u32 from) { return write(to, m.Narrow(to) + m.Narrow(from)); });
    p.Bind(kLibrary, "strncmp", [&m](u32 one, u32 other, u32 count) -> i32 {
        return std::strncmp(m.Narrow(one).c_str(), m.Narrow(other).c_str(), count);
    });
    p.Bind(kLibrary, "_stricmp", [&m](u32 one, u32 other) -> i32 {
        return strcasecmp(m.Narrow(one).c_str(), m.Narrow(other).c_str());
    });
    const auto found = [](u32 text, size_t at) {
        return at == std::string::npos ? 0 : text + static_cast<u32>(at);
    };
    p.Bind(kLibrary, "strchr", [&m, found](u32 text, u32 byte) {
        return found(text, (m.Narrow(text) + '\0').find(static_cast<char>(byte)));
    });
    p.Bind(kLibrary, "strrchr", [&m, found](u32 text, u32 byte) {
        return found(text, (m.Narrow(text) + '\0').rfind(static_cast<char>(byte)));
    });
    p.Bind(kLibrary, "strstr",
           [&m, found](u32 text, u32 part) { return found(text, m.Narrow(text).find(m.Narrow(part))); });
    p.Bind(kLibrary, "atoi", [&m](u32 text) -> i32 { return std::atoi(m.Narrow(text).c_str()); });
    p.Bind(kLibrary, "atol", [&m](u32 text) -> i32 { return std::atoi(m.Narrow(text).c_str()); });
    p.Bind(kLibrary, "atof", [&m](u32 text) { return std::atof(m.Narrow(text).c_str()); });
}

void BindConversions(Process& p) {
    auto& m = p.machine;
    // The code pages are one here: characters beyond ASCII become a question mark.
    p.Bind(kLibrary, "WideCharToMultiByte",
           [&m](u32, u32, u32 from, i32 count, u32 to, i32 room, u32, u32) -> u32 {
               std::u16string text = count < 0 ? m.Text(from) + u'\0' : std::u16string();
               for (i32 i = 0; i < count; ++i)
                   text.push_back(static_cast<char16_t>(m.Read<u16>(from + 2 * static_cast<u32>(i))));
               if (room == 0) return static_cast<u32>(text.size());
               if (text.size() > static_cast<size_t>(room)) return 0;
               for (size_t i = 0; i < text.size(); ++i)
                   m.Write(to + static_cast<u32>(i), static_cast<u8>(text[i] < 0x80 ? text[i] : '?'));
               return static_cast<u32>(text.size());
           });
    p.Bind(kLibrary, "MultiByteToWideChar", [&m](u32, u32, u32 from, i32 count, u32 to, i32 room) -> u32 {
        std::string text =
            count < 0 ? m.Narrow(from) + '\0'
                      : std::string(reinterpret_cast<char*>(m.Bytes(from)), static_cast<size_t>(count));
        if (room == 0) return static_cast<u32>(text.size());
        if (text.size() > static_cast<size_t>(room)) return 0;
        for (size_t i = 0; i < text.size(); ++i)
            m.Write(to + 2 * static_cast<u32>(i), static_cast<u16>(static_cast<u8>(text[i])));
        return static_cast<u32>(text.size());
    });
}

}  // namespace

void BindText(Process& process) {
    BindWide(process);
    BindNarrow(process);
    BindConversions(process);
}

}  // namespace ce
