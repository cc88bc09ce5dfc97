#include "model/view_settings.h"

#include <shlobj.h>

#include <fstream>
#include <map>
#include <sstream>

#include <ocellus/camera.hpp>

#include "model/replace_file.h"

namespace camview {

namespace {

constexpr int kVersion = 1;

// The fields by their names in the file; one list for reading and writing.
template <typename Visitor>
void Visit(ViewSettings& s, Visitor&& visit) {
    visit("left", s.window.left, -32000, 32000);
    visit("top", s.window.top, -32000, 32000);
    visit("right", s.window.right, -32000, 32000);
    visit("bottom", s.window.bottom, -32000, 32000);
    visit("maximised", s.maximised, 0, 1);
    visit("tab", s.tab, 0, 4);
    visit("zoom", s.zoom, 0, 1);
    visit("camera", s.camera);
    visit("format", s.format, 0, 3);
    visit("mode", s.mode, 0, 2);
    visit("folder", s.folder);
    visit("pattern", s.pattern);
    visit("burst", s.burst, 1, 100);
    visit("intervalMs", s.intervalMs, 100, 86'400'000);
    visit("stamp", s.stamp);
    visit("position", s.position, 0, 8);
    visit("color", s.color, 0, 12);
    visit("outline", s.outline, 0, 14);
    visit("background", s.background, 0, 14);
    visit("fontName", s.fontName);
    visit("fontPixels", s.fontPixels, 4, 500);
    visit("fontBold", s.fontBold, 0, 1);
}

using Values = std::map<std::string, std::string>;

Values ReadValues(std::istream& in) {
    Values values;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const size_t equals = line.find('=');
        if (equals != std::string::npos) values[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return values;
}

// Lines of a text stand in one line of the file.
std::string Escaped(const std::wstring& text) {
    std::string line;
    for (const char byte : ocellus::ToUtf8(text)) {
        if (byte == '\\')
            line += "\\\\";
        else if (byte == '\n')
            line += "\\n";
        else if (byte != '\r')
            line += byte;
    }
    return line;
}

std::wstring Unescaped(const std::string& line) {
    std::string text;
    for (size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '\\' && at + 1 < line.size())
            text += line[++at] == 'n' ? '\n' : line[at];
        else
            text += line[at];
    }
    return ocellus::ToUtf16(text);
}

struct Reader {
    const Values& values;

    void operator()(const char* name, std::wstring& field) const {
        if (const auto found = values.find(name); found != values.end()) field = Unescaped(found->second);
    }
    template <typename Number>
    void operator()(const char* name, Number& field, long minimum, long maximum) const {
        const auto found = values.find(name);
        if (found == values.end()) return;
        char* end = nullptr;
        const long value = strtol(found->second.c_str(), &end, 10);
        if (end != found->second.c_str() && value >= minimum && value <= maximum)
            field = static_cast<Number>(value);
    }
};

struct Writer {
    std::ostream& out;

    void operator()(const char* name, const std::wstring& field) const {
        out << name << '=' << Escaped(field) << '\n';
    }
    template <typename Number>
    void operator()(const char* name, const Number& field, long, long) const {
        out << name << '=' << static_cast<long>(field) << '\n';
    }
};

}  // namespace

SettingsState ReadViewSettings(const std::wstring& file, ViewSettings& settings) {
    std::ifstream in(file.c_str(), std::ios::binary);
    if (!in) return SettingsState::Fresh;
    const Values values = ReadValues(in);
    Visit(settings, Reader{values});
    const auto version = values.find("version");
    const bool isNewer = version != values.end() && strtol(version->second.c_str(), nullptr, 10) > kVersion;
    return isNewer ? SettingsState::Newer : SettingsState::Read;
}

bool WriteViewSettings(const std::wstring& file, const ViewSettings& settings) {
    std::ostringstream text;
    text << "[camview]\nversion=" << kVersion << '\n';
    ViewSettings copy = settings;
    Visit(copy, Writer{text});
    return ReplaceFileText(file, text.str());
}

std::wstring ViewSettingsFile() {
    wchar_t folder[MAX_PATH] = L"";
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder))) return L"";
    const std::wstring own = std::wstring(folder) + L"\\Ocellus";
    CreateDirectoryW(own.c_str(), nullptr);
    return own + L"\\camview.ini";
}

}  // namespace camview
