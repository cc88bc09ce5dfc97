// Strings, wide and narrow.
#include <cctype>
#include <cstring>

#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

char16_t Lower(char16_t unit) {
    return unit < 0x80 ? static_cast<char16_t>(std::tolower(unit)) : unit;
}

i32 Compare(const std::u16string& one, const std::u16string& other, bool ignoreCase) {
    for (size_t i = 0;; ++i) {
        char16_t a = i < one.size() ? one[i] : u'\0', b = i < other.size() ? other[i] : u'\0';
        if (ignoreCase) a = Lower(a), b = Lower(b);
        if (a != b) return a < b ? -1 : 1;
        if (!a) return 0;
    }
}

void WriteText(Machine& m, u32 to, std::u16string_view text) {
    for (size_t i = 0; i < text.size(); ++i) m.Write(to + 2 * static_cast<u32>(i), static_cast<u16>(text[i]));
    m.Write(to + 2 * static_cast<u32>(text.size()), u16{0});
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
    p.Bind(kLibrary, "wcscmp",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), false); });
    p.Bind(kLibrary, "_wcsicmp",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), true); });
    p.Bind(kLibrary, "_wcsdup", [&p](u32 text) { return p.NewText(p.machine.Text(text)); });
    p.Bind(kLibrary, "iswctype", [](u32 unit, u32 type) -> u32 {
        if (unit >= 0x80) return 0;
        const int c = static_cast<int>(unit);
        const u32 is = (std::isupper(c) ? 1u : 0) | (std::islower(c) ? 2u : 0) | (std::isdigit(c) ? 4u : 0) |
                       (std::isspace(c) ? 8u : 0) | (std::ispunct(c) ? 16u : 0) |
                       (std::iscntrl(c) ? 32u : 0) | (std::isxdigit(c) ? 128u : 0) |
                       (std::isalpha(c) ? 256u : 0);
        return is & type;
    });
    p.Bind(kLibrary, "_wtol", [&m](u32 text) {
        const std::u16string wide = m.Text(text);
        return static_cast<i32>(std::strtoll(std::string(wide.begin(), wide.end()).c_str(), nullptr, 10));
    });
}

// The formats that the library uses: %s and %ls for wide text, %d, %u, %x, %X with width and zeroes.
std::u16string Format(Machine& m, const std::u16string& format, const std::function<u32()>& next) {
    std::u16string out;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != u'%') {
            out.push_back(format[i]);
            continue;
        }
        std::string spec = "%";
        while (++i < format.size() && std::strchr("0123456789.-l", static_cast<char>(format[i]))) {
            if (format[i] != u'l') spec.push_back(static_cast<char>(format[i]));
        }
        const char kind = static_cast<char>(format[i]);
        if (kind == '%') {
            out.push_back(u'%');
        } else if (kind == 's') {
            out += m.Text(next());
        } else if (kind == 'c') {
            out.push_back(static_cast<char16_t>(next()));
        } else if (std::strchr("duxXi", kind)) {
            char text[32];
            std::snprintf(text, sizeof text, (spec + kind).c_str(), next());
            for (const char* c = text; *c; ++c) out.push_back(static_cast<char16_t>(*c));
        } else {
            throw Failure("a format that the emulator does not know: %" + std::string(1, kind));
        }
    }
    return out;
}

void BindFormats(Process& p) {
    auto& m = p.machine;
    // Variable arguments lie in registers and on the stack as any others do; a va_list points at them in memory.
    const auto variable = [&m](Arguments& arguments, size_t room, u32 to, u32 format) -> u64 {
        const std::u16string text = Format(m, m.Text(format), [&] { return arguments.Word(); });
        if (text.size() + 1 > room) return static_cast<u32>(-1);
        WriteText(m, to, text);
        return text.size();
    };
    p.BindRaw(kLibrary, "wsprintfW", [variable](Arguments& arguments) {
        const u32 to = arguments.Word(), format = arguments.Word();
        return variable(arguments, 1024, to, format);
    });
    p.Bind(kLibrary, "_vsnwprintf", [&m](u32 to, u32 room, u32 format, u32 list) -> i32 {
        const std::u16string text = Format(m, m.Text(format), [&] {
            const u32 word = m.Read<u32>(list);
            list += 4;
            return word;
        });
        if (text.size() > room) return -1;
        for (size_t i = 0; i < text.size(); ++i)
            m.Write(to + 2 * static_cast<u32>(i), static_cast<u16>(text[i]));
        if (text.size() < room) m.Write(to + 2 * static_cast<u32>(text.size()), u16{0});
        return static_cast<i32>(text.size());
    });
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
    BindFormats(process);
}

}  // namespace ce
