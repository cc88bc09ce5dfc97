#include "emulator/text.h"

#include <bit>
#include <cctype>
#include <cstring>

namespace ce {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& text, char32_t c) {
    const auto put = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            put(0xE0 | c >> 12);
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
        }
        put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c & 0x3FF) << 10) + (text[++i] & 0x3FFu);
        } else if (c >= 0xD800 && c < 0xE000) {
            c = kReplacement;
        }
        AppendUtf8(out, c);
    }
    return out;
}

std::u16string FromUtf8(std::string_view text) {
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        const int more = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : -1;
        char32_t c = more <= 0 ? lead : lead & (0x3Fu >> more);
        bool valid = more >= 0 && lead < 0xF8;
        for (int k = 0; k < more; ++k) {
            valid = valid && i < text.size() && (text[i] & 0xC0) == 0x80;
            if (valid) c = c << 6 | (static_cast<unsigned char>(text[i++]) & 0x3Fu);
        }
        if (!valid || c > 0x10FFFF) c = kReplacement;
        if (c >= 0x10000) {
            out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
    }
    return out;
}

char16_t LowerCase(char16_t unit) {
    return unit < 0x80 ? static_cast<char16_t>(std::tolower(unit)) : unit;
}

std::u16string LowerCase(std::u16string text) {
    for (char16_t& unit : text) unit = LowerCase(unit);
    return text;
}

void WriteText(Machine& machine, u32 address, std::u16string_view text) {
    for (const char16_t unit : text) {
        machine.Write(address, static_cast<u16>(unit));
        address += 2;
    }
    machine.Write(address, u16{0});
}

namespace {

// One conversion: flags, width and precision as the host's printf takes them; sizes are of the program's
// types.
struct Conversion {
    std::string spec = "%";
    bool isLong = false, isShort = false, isWideNumber = false;  // l, h, ll or I64
    char kind = 0;
};

Conversion ReadConversion(std::u16string_view format, size_t& at, const std::function<u32()>& next) {
    Conversion conversion;
    for (; ++at < format.size();) {
        const char c = format[at] < 0x80 ? static_cast<char>(format[at]) : '?';
        if (c == '*') {
            conversion.spec += std::to_string(static_cast<i32>(next()));
        } else if (c == 'l' || c == 'w') {
            conversion.isWideNumber = conversion.isLong;
            conversion.isLong = true;
        } else if (c == 'h') {
            conversion.isShort = true;
        } else if (format.substr(at).starts_with(u"I64")) {
            conversion.isWideNumber = true;
            at += 2;
        } else if (std::strchr("0123456789.-+ #", c)) {
            conversion.spec.push_back(c);
        } else {
            conversion.kind = c;
            break;
        }
    }
    return conversion;
}

template <typename T>
std::u16string Print(const Conversion& conversion, const char* size, char kind, T value) {
    char text[512];
    const std::string spec = conversion.spec + size + kind;
    std::snprintf(text, sizeof text, spec.c_str(), value);
    return std::u16string(text, text + std::strlen(text));
}

// Width and precision of a text count its units, which the host's printf would count as bytes.
std::u16string Pad(const Conversion& conversion, std::u16string text) {
    const std::string& spec = conversion.spec;
    const size_t dot = spec.find('.');
    if (dot != std::string::npos) text = text.substr(0, std::strtoul(spec.c_str() + dot + 1, nullptr, 10));
    const bool left = spec.find('-') != std::string::npos;
    const size_t digits = spec.find_first_of("0123456789");
    const size_t width = digits < dot ? std::strtoul(spec.c_str() + digits, nullptr, 10) : 0;
    if (text.size() < width) text.insert(left ? text.size() : 0, width - text.size(), u' ');
    return text;
}

}  // namespace

std::u16string Format(Machine& machine, std::u16string_view format, bool isWide,
                      const std::function<u32()>& next) {
    const auto nextLong = [&] {
        const u64 low = next();
        return low | static_cast<u64>(next()) << 32;
    };
    std::u16string out;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != u'%') {
            out.push_back(format[i]);
            continue;
        }
        const Conversion c = ReadConversion(format, i, next);
        const bool opposite = c.kind == 'S' || c.kind == 'C';
        if (c.kind == '%') {
            out.push_back(u'%');
        } else if (c.kind == 's' || c.kind == 'S') {
            const u32 at = next();
            const bool wideText = c.isLong || (!c.isShort && isWide != opposite);
            std::u16string text = u"(null)";
            if (at && wideText) {
                text = machine.Text(at);
                if (!isWide) {
                    const std::string bytes = ToUtf8(text);
                    text.assign(bytes.begin(), bytes.end());
                    for (char16_t& unit : text) unit &= 0xFF;
                }
            } else if (at) {
                text.clear();
                for (const char byte : machine.Narrow(at)) text.push_back(static_cast<unsigned char>(byte));
            }
            out += Pad(c, text);
        } else if (c.kind == 'c' || c.kind == 'C') {
            out += Pad(c, std::u16string(1, static_cast<char16_t>(next())));
        } else if (c.kind == 'p') {
            Conversion pointer = c;
            pointer.spec = "%08";
            out += Print(pointer, "", 'X', next());
        } else if (c.kind && std::strchr("duxXio", c.kind)) {
            if (c.isWideNumber) {
                out += Print(c, "ll", c.kind, static_cast<unsigned long long>(nextLong()));
            } else {
                out += Print(c, c.isShort ? "h" : "", c.kind, next());
            }
        } else if (c.kind && std::strchr("fFeEgG", c.kind)) {
            out += Print(c, "", c.kind, std::bit_cast<double>(nextLong()));
        } else {
            throw Failure("a format that the emulator does not know: " + c.spec + std::string(1, c.kind));
        }
    }
    return out;
}

}  // namespace ce
