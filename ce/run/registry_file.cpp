#include "run/registry_file.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "emulator/registry.h"
#include "emulator/text.h"

namespace ce {

namespace {

constexpr u32 kBinary = 3;
const std::pair<std::u16string_view, u32> kRoots[] = {{u"HKEY_CLASSES_ROOT", 0x80000000},
                                                      {u"HKEY_CURRENT_USER", 0x80000001},
                                                      {u"HKEY_LOCAL_MACHINE", 0x80000002},
                                                      {u"HKEY_USERS", 0x80000003}};

// ---- Reading
// -----------------------------------------------------------------------------------------------------------

struct Refused {
    std::string reason;
};

std::u16string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure(path + ": cannot be opened");
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.starts_with("\xFF\xFE")) {
        std::u16string text((bytes.size() - 2) / 2, u'\0');
        std::memcpy(text.data(), bytes.data() + 2, 2 * text.size());
        return text;
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
    return FromUtf8(bytes);
}

std::u16string_view Trimmed(std::u16string_view text) {
    constexpr std::u16string_view kBlank = u" \t\r";
    const size_t first = text.find_first_not_of(kBlank);
    if (first == std::u16string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

// The text in quotes at the line's beginning, which is taken away.
std::u16string TakeQuoted(std::u16string_view& line) {
    std::u16string text;
    for (size_t i = 1; i < line.size(); ++i) {
        if (line[i] == u'"') {
            line = Trimmed(line.substr(i + 1));
            return text;
        }
        if (line[i] == u'\\' && i + 1 < line.size()) ++i;
        text.push_back(line[i]);
    }
    throw Refused{"a text in quotes does not end"};
}

u32 Hexadecimal(std::u16string_view digits, size_t most) {
    u32 value = 0;
    if (digits.empty() || digits.size() > most)
        throw Refused{"a number in hexadecimal has too few or too many digits"};
    for (const char16_t digit : digits) {
        if (digit >= 0x80 || !std::isxdigit(digit))
            throw Refused{"a number in hexadecimal has another character"};
        value = value * 16 + static_cast<u32>(digit <= u'9' ? digit - u'0' : (digit | 0x20) - u'a' + 10);
    }
    return value;
}

std::vector<u8> HexBytes(std::u16string_view list) {
    std::vector<u8> bytes;
    while (!list.empty()) {
        const size_t end = std::min(list.find(u','), list.size());
        bytes.push_back(static_cast<u8>(Hexadecimal(Trimmed(list.substr(0, end)), 2)));
        list = Trimmed(list.substr(std::min(end + 1, list.size())));
    }
    return bytes;
}

std::vector<u8> TextBytes(const std::u16string& text) {
    const auto* bytes = reinterpret_cast<const u8*>(text.c_str());
    return {bytes, bytes + 2 * (text.size() + 1)};
}

class Reader {
  public:
    explicit Reader(Process& owner) : process(owner) {}

    void Line(std::u16string_view line) {
        if (line.starts_with(u'[')) return Key(line);
        if (key.empty()) throw Refused{"a value stands before the first key"};
        std::u16string name;
        if (line.starts_with(u'@')) {
            line = Trimmed(line.substr(1));
        } else if (line.starts_with(u'"')) {
            name = TakeQuoted(line);
        } else {
            throw Refused{"neither a key in brackets nor a value"};
        }
        if (!line.starts_with(u'=')) throw Refused{"there is no = after the value's name"};
        Value(name, Trimmed(line.substr(1)));
    }

  private:
    void Key(std::u16string_view line) {
        if (!line.ends_with(u']')) throw Refused{"the key's closing bracket is missing"};
        line = line.substr(1, line.size() - 2);
        const bool remove = line.starts_with(u'-');
        if (remove) line.remove_prefix(1);
        const size_t end = std::min(line.find(u'\\'), line.size());
        const auto root = std::find_if(std::begin(kRoots), std::end(kRoots),
                                       [&](const auto& one) { return one.first == line.substr(0, end); });
        if (root == std::end(kRoots)) throw Refused{"no such root: " + ToUtf8(line.substr(0, end))};
        if (end + 1 >= line.size()) throw Refused{"the root itself is no key that can be written"};
        key = RegistryPath(root->second, line.substr(end + 1));
        if (remove) {
            RemoveRegistryKey(process, key);
            key.clear();
        } else {
            AddRegistryKey(process, key);
        }
    }

    void Value(const std::u16string& name, std::u16string_view text) {
        auto& registry = process.Attachment<Registry>("registry");
        const auto place = std::pair(LowerCase(key), LowerCase(name));
        if (text == u"-") {
            registry.values.erase(place);
        } else if (text.starts_with(u'"')) {
            const std::u16string value = TakeQuoted(text);
            if (!text.empty()) throw Refused{"there is more after the text"};
            registry.values[place] = {kRegistryText, TextBytes(value), name};
        } else if (text.starts_with(u"dword:")) {
            const u32 number = Hexadecimal(text.substr(6), 8);
            std::vector<u8> bytes(4);
            std::memcpy(bytes.data(), &number, 4);
            registry.values[place] = {kRegistryNumber, bytes, name};
        } else if (text.starts_with(u"hex:")) {
            registry.values[place] = {kBinary, HexBytes(text.substr(4)), name};
        } else if (const size_t end = text.find(u"):");
                   text.starts_with(u"hex(") && end != std::u16string_view::npos) {
            registry.values[place] = {Hexadecimal(text.substr(4, end - 4), 8), HexBytes(text.substr(end + 2)),
                                      name};
        } else {
            throw Refused{"no text in quotes, dword:, hex: or hex(...): after the ="};
        }
    }

    Process& process;
    std::u16string key;  // with its root
};

}  // namespace

void ReadRegistryFile(Process& process, const std::string& path) {
    const std::u16string text = ReadText(path);
    Reader reader(process);
    bool headSeen = false;
    int number = 0;
    for (size_t at = 0; at < text.size();) {
        std::u16string joined;
        int lines = 0;
        // A backslash at the end of a line goes on in the next.
        for (bool more = true; more && at < text.size(); ++lines) {
            const size_t end = std::min(text.find(u'\n', at), text.size());
            std::u16string_view line = Trimmed(std::u16string_view(text).substr(at, end - at));
            at = end + 1;
            more = line.ends_with(u'\\') && !line.starts_with(u'[');
            if (more) line.remove_suffix(1);
            joined += line;
        }
        number += lines;
        try {
            if (joined.empty() || joined.starts_with(u';')) continue;
            const bool isHead = joined == u"Windows Registry Editor Version 5.00" || joined == u"REGEDIT4";
            if (!headSeen && !isHead)
                throw Refused{
                    "a registry file begins with \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\""};
            if (headSeen) reader.Line(joined);
            headSeen = true;
        } catch (const Refused& refused) {
            throw Failure(path + ":" + std::to_string(number - lines + 1) + ": " + refused.reason);
        }
    }
}

// ---- Writing
// -----------------------------------------------------------------------------------------------------------

namespace {

std::string Quoted(std::u16string_view text) {
    std::u16string escaped;
    for (const char16_t unit : text) {
        if (unit == u'"' || unit == u'\\') escaped.push_back(u'\\');
        escaped.push_back(unit);
    }
    return "\"" + ToUtf8(escaped) + "\"";
}

// One line with its end, and nothing that the format's quotes could not hold.
bool IsPlainText(const std::u16string& text) {
    return !text.empty() && text.find(u'\0') == text.size() - 1 && text.find_first_of(u"\r\n") == text.npos;
}

std::string Written(const Registry::Value& value) {
    char number[16];
    const auto& bytes = value.contents;
    if (value.type == kRegistryText && bytes.size() % 2 == 0) {
        std::u16string text(bytes.size() / 2, u'\0');
        std::memcpy(text.data(), bytes.data(), bytes.size());
        if (IsPlainText(text)) return Quoted(text.substr(0, text.size() - 1));
    }
    if (value.type == kRegistryNumber && bytes.size() == 4) {
        u32 word = 0;
        std::memcpy(&word, bytes.data(), 4);
        std::snprintf(number, sizeof number, "dword:%08x", word);
        return number;
    }
    std::string text = "hex:";
    if (value.type != kBinary) {
        std::snprintf(number, sizeof number, "hex(%x):", value.type);
        text = number;
    }
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(number, sizeof number, "%s%02x", i ? "," : "", bytes[i]);
        text += number;
    }
    return text;
}

}  // namespace

void WriteRegistryFile(Process& process, const std::string& path) {
    auto& registry = process.Attachment<Registry>("registry");
    std::ofstream file(path, std::ios::binary);
    file << "Windows Registry Editor Version 5.00\n";
    for (const std::u16string& key : registry.keys) {
        const std::u16string& spelled = registry.spelled.contains(key) ? registry.spelled[key] : key;
        const auto root = static_cast<size_t>(spelled[0] - u'0');
        file << "\n[" << ToUtf8(kRoots[root].first) << ToUtf8(spelled.substr(1)) << "]\n";
        for (auto value = registry.values.lower_bound({key, u""});
             value != registry.values.end() && value->first.first == key; ++value) {
            const std::u16string& name = value->first.second;
            const std::u16string& kept = value->second.name.empty() ? name : value->second.name;
            file << (name.empty() ? "@" : Quoted(kept)) << "=" << Written(value->second) << "\n";
        }
    }
    if (!file.flush()) throw Failure(path + ": cannot be written");
}

}  // namespace ce
