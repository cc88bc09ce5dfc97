// Strings, wide and narrow, and the mathematics that the picture libraries ask for.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <cwctype>

#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

char16_t Lower(char16_t unit) {
    return unit < 0x80 ? static_cast<char16_t>(std::tolower(unit)) : unit;
}

i32 Compare(const std::u16string& one, const std::u16string& other, bool ignoreCase,
            size_t limit = std::u16string::npos) {
    for (size_t i = 0; i < limit; ++i) {
        char16_t a = i < one.size() ? one[i] : u'\0', b = i < other.size() ? other[i] : u'\0';
        if (ignoreCase) a = Lower(a), b = Lower(b);
        if (a != b) return a < b ? -1 : 1;
        if (!a) return 0;
    }
    return 0;
}

void WriteText(Machine& m, u32 to, std::u16string_view text) {
    for (size_t i = 0; i < text.size(); ++i) m.Write(to + 2 * static_cast<u32>(i), static_cast<u16>(text[i]));
    m.Write(to + 2 * static_cast<u32>(text.size()), u16{0});
}

u32 Find(Machine& m, u32 at, u32 unit, bool last) {
    const std::u16string text = m.Text(at);
    const size_t found = unit == 0 ? text.size()
                         : last    ? text.rfind(static_cast<char16_t>(unit))
                                   : text.find(static_cast<char16_t>(unit));
    return found == std::u16string::npos ? 0 : at + 2 * static_cast<u32>(found);
}

// wcstok keeps its place for each thread.
u32 NextToken(Process& p, u32 text, u32 delimitersAt) {
    auto& places = p.Attachment<std::map<u32, u32>>("wcstok");
    u32& place = places[p.scheduler.Current().id];
    if (text) place = text;
    const std::u16string delimiters = p.machine.Text(delimitersAt);
    const auto isDelimiter = [&](u16 unit) {
        return delimiters.find(static_cast<char16_t>(unit)) != std::u16string::npos;
    };
    while (place && p.machine.Read<u16>(place) && isDelimiter(p.machine.Read<u16>(place))) place += 2;
    if (!place || !p.machine.Read<u16>(place)) return place = 0;
    const u32 token = place;
    while (p.machine.Read<u16>(place) && !isDelimiter(p.machine.Read<u16>(place))) place += 2;
    if (p.machine.Read<u16>(place)) {
        p.machine.Write(place, u16{0});
        place += 2;
    }
    return token;
}

void BindWide(Process& p) {
    auto& m = p.machine;
    p.Bind(kLibrary, "wcslen", [&m](u32 text) { return static_cast<u32>(m.Text(text).size()); });
    p.Bind(kLibrary, "wcscpy", [&m](u32 to, u32 from) { return WriteText(m, to, m.Text(from)), to; });
    p.Bind(kLibrary, "wcsncpy", [&m](u32 to, u32 from, u32 count) {
        const std::u16string text = m.Text(from).substr(0, count);
        for (u32 i = 0; i < count; ++i)
            m.Write(to + 2 * i, static_cast<u16>(i < text.size() ? text[i] : u'\0'));
        return to;
    });
    p.Bind(kLibrary, "wcscat",
           [&m](u32 to, u32 from) { return WriteText(m, to, m.Text(to) + m.Text(from)), to; });
    p.Bind(kLibrary, "wcscmp",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), false); });
    p.Bind(kLibrary, "wcsncmp",
           [&m](u32 one, u32 other, u32 n) { return Compare(m.Text(one), m.Text(other), false, n); });
    p.Bind(kLibrary, "_wcsicmp",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), true); });
    p.Bind(kLibrary, "_wcsnicmp",
           [&m](u32 one, u32 other, u32 n) { return Compare(m.Text(one), m.Text(other), true, n); });
    p.Bind(kLibrary, "lstrcmpiW",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), true); });
    p.Bind(kLibrary, "lstrcmpW",
           [&m](u32 one, u32 other) { return Compare(m.Text(one), m.Text(other), false); });
    p.Bind(kLibrary, "wcschr", [&m](u32 text, u32 unit) { return Find(m, text, unit, false); });
    p.Bind(kLibrary, "wcsrchr", [&m](u32 text, u32 unit) { return Find(m, text, unit, true); });
    p.Bind(kLibrary, "wcsstr", [&m](u32 text, u32 part) -> u32 {
        const size_t found = m.Text(text).find(m.Text(part));
        return found == std::u16string::npos ? 0 : text + 2 * static_cast<u32>(found);
    });
    p.Bind(kLibrary, "_wcsdup", [&p](u32 text) { return p.NewText(p.machine.Text(text)); });
    p.Bind(kLibrary, "wcstok", [&p](u32 text, u32 delimiters) { return NextToken(p, text, delimiters); });
    p.Bind(kLibrary, "towlower", [](u32 unit) -> u32 { return Lower(static_cast<char16_t>(unit)); });
    p.Bind(kLibrary, "towupper", [](u32 unit) -> u32 {
        return unit < 0x80 ? static_cast<u32>(std::toupper(static_cast<int>(unit))) : unit;
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
    const auto number = [&m](u32 text, u32 endAt, u32 radix) -> long long {
        const std::u16string wide = m.Text(text);
        const std::string narrow(wide.begin(), wide.end());
        char* end = nullptr;
        const long long value = std::strtoll(narrow.c_str(), &end, static_cast<int>(radix));
        if (endAt) m.Write(endAt, text + 2 * static_cast<u32>(end - narrow.c_str()));
        return value;
    };
    p.Bind(kLibrary, "wcstol", [number](u32 text, u32 endAt, u32 radix) {
        return static_cast<i32>(std::clamp<long long>(number(text, endAt, radix), INT32_MIN, INT32_MAX));
    });
    p.Bind(kLibrary, "wcstoul",
           [number](u32 text, u32 endAt, u32 radix) { return static_cast<u32>(number(text, endAt, radix)); });
    p.Bind(kLibrary, "_wtol", [number](u32 text) { return static_cast<i32>(number(text, 0, 10)); });
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
    p.BindRaw(kLibrary, "_snwprintf", [variable](Arguments& arguments) {
        const u32 to = arguments.Word(), room = arguments.Word(), format = arguments.Word();
        return variable(arguments, room, to, format);
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
    p.Bind(kLibrary, "strncmp", [&m](u32 one, u32 other, u32 count) -> i32 {
        return std::strncmp(m.Narrow(one).c_str(), m.Narrow(other).c_str(), count);
    });
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
    p.Bind(kLibrary, "floor", [](double value) { return std::floor(value); });
    p.Bind(kLibrary, "pow", [](double base, double exponent) { return std::pow(base, exponent); });
    p.Bind(kLibrary, "modf", [&m](double value, u32 wholeAt) {
        double whole = 0;
        const double rest = std::modf(value, &whole);
        m.Write(wholeAt, whole);
        return rest;
    });
    p.Bind(kLibrary, "frexp", [&m](double value, u32 exponentAt) {
        int exponent = 0;
        const double mantissa = std::frexp(value, &exponent);
        m.Write(exponentAt, exponent);
        return mantissa;
    });
}

}  // namespace

void BindText(Process& process) {
    BindWide(process);
    BindNarrow(process);
    BindFormats(process);
}

}  // namespace ce
