#include "stamp.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <sstream>

#include "text.h"

namespace camctl {

namespace {

using ocellus::StampColor;
using ocellus::TextPosition;

template <typename Value>
struct Named {
    const char* name;
    Value value;
};

constexpr Named<TextPosition> kPositions[] = {
    {"top-left", TextPosition::TopLeft},           {"top-centre", TextPosition::TopCentre},
    {"top-right", TextPosition::TopRight},         {"middle-left", TextPosition::MiddleLeft},
    {"middle-centre", TextPosition::MiddleCentre}, {"middle-right", TextPosition::MiddleRight},
    {"bottom-left", TextPosition::BottomLeft},     {"bottom-centre", TextPosition::BottomCentre},
    {"bottom-right", TextPosition::BottomRight},
};

constexpr Named<StampColor> kStampColors[] = {
    {"inverse", StampColor::InverseOfText},
    {"black", StampColor::Black},
    {"grey", StampColor::Grey},
    {"silver", StampColor::Silver},
    {"white", StampColor::White},
    {"red", StampColor::Red},
    {"magenta", StampColor::Magenta},
    {"orange", StampColor::Orange},
    {"yellow", StampColor::Yellow},
    {"brown", StampColor::Brown},
    {"green", StampColor::Green},
    {"blue", StampColor::Blue},
    {"cyan", StampColor::Cyan},
    {"violet", StampColor::Violet},
    {"none", StampColor::None},
};

constexpr Named<COLORREF> kColors[] = {
    {"black", RGB(0, 0, 0)},        {"grey", RGB(128, 128, 128)}, {"silver", RGB(192, 192, 192)},
    {"white", RGB(255, 255, 255)},  {"red", RGB(255, 0, 0)},      {"magenta", RGB(255, 0, 255)},
    {"orange", RGB(255, 165, 0)},   {"yellow", RGB(255, 255, 0)}, {"brown", RGB(165, 42, 42)},
    {"green", RGB(0, 255, 0)},      {"blue", RGB(0, 0, 255)},     {"cyan", RGB(0, 255, 255)},
    {"violet", RGB(238, 130, 238)},
};

template <typename Value, size_t count>
Value ValueOf(const char* option, const std::string& name, const Named<Value> (&values)[count]) {
    std::string known;
    for (const Named<Value>& value : values) {
        if (name == value.name) return value.value;
        known += (known.empty() ? "" : ", ") + std::string(value.name);
    }
    throw ToolError{ExitCode::Usage, std::string(option) + " '" + name + "' is not known",
                    "give one of " + known};
}

COLORREF ParseTextColor(const std::string& name) {
    unsigned red = 0, green = 0, blue = 0;
    char end = 0;
    if (name.size() == 7 && sscanf(name.c_str(), "#%2x%2x%2x%c", &red, &green, &blue, &end) == 3)
        return RGB(red, green, blue);
    if (name.starts_with('#'))
        throw ToolError{ExitCode::Usage, "--text-color '" + name + "' is no colour",
                        "write #rrggbb in hexadecimal"};
    return ValueOf("--text-color", name, kColors);
}

// "NAME,PIXELS[,bold][,italic]"
cam::UniqueFont MakeFont(const std::string& text) {
    std::istringstream parts(text);
    std::string name, pixels, style;
    std::getline(parts, name, ',');
    std::getline(parts, pixels, ',');
    LOGFONTW font = {};
    char* end = nullptr;
    font.lfHeight = -static_cast<LONG>(strtol(pixels.c_str(), &end, 10));
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfQuality = ANTIALIASED_QUALITY;
    bool valid = !name.empty() && *end == '\0' && font.lfHeight < 0 && font.lfHeight >= -1000;
    while (std::getline(parts, style, ',')) {
        if (style == "bold")
            font.lfWeight = FW_BOLD;
        else if (style == "italic")
            font.lfItalic = TRUE;
        else
            valid = false;
    }
    const std::wstring wideName = ToWide(name);
    valid = valid && wideName.size() < LF_FACESIZE;
    if (!valid) {
        throw ToolError{ExitCode::Usage, "--font '" + text + "' is no font",
                        "write NAME,PIXELS and optionally ,bold and ,italic: --font \"DejaVu Sans,18,bold\""};
    }
    std::copy(wideName.begin(), wideName.end(), font.lfFaceName);
    cam::UniqueFont made(CreateFontIndirectW(&font));
    if (!made) {
        throw ToolError{ExitCode::InvalidArgument, "the system does not make the font '" + text + "'",
                        "choose another font or a smaller one"};
    }
    return made;
}

std::string WithLineFeeds(std::string text) {
    for (size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; ++at) text.replace(at, 2, "\n");
    return text;
}

}  // namespace

std::string Now(const std::string& what, const std::string& pattern) {
    // The system ends a program that asks it for another one.
    constexpr std::string_view kKnown = "aAbBcdHIjmMpSUwWxXyYzZ%";
    const time_t now = time(nullptr);
    std::array<char, 512> text;
    bool isPattern = true;
    for (size_t at = pattern.find('%'); at != std::string::npos; at = pattern.find('%', at + 2))
        isPattern &= at + 1 < pattern.size() && kKnown.find(pattern[at + 1]) != std::string_view::npos;
    if (!isPattern || strftime(text.data(), text.size(), pattern.c_str(), localtime(&now)) == 0) {
        throw ToolError{ExitCode::Usage, what + " '" + pattern + "' is no pattern of a date and time",
                        "write it as \"%Y-%m-%d %H:%M:%S\"; %% is a percent sign"};
    }
    return text.data();
}

Stamp::Stamp(const TextOptions& options) {
    const TextPosition position = ValueOf("--position", options.position, kPositions);
    const COLORREF color = ParseTextColor(options.textColor);
    const StampColor outline = ValueOf("--outline", options.outline, kStampColors);
    const StampColor background = ValueOf("--background", options.background, kStampColors);
    std::string words = WithLineFeeds(options.text);
    if (!options.stamp.empty()) words += (words.empty() ? "" : "\n") + Now("--stamp", options.stamp);
    if (words.empty()) return;
    font = MakeFont(options.font);
    text.emplace(ToWide(words), font.get());
    text->At(position).Color(color).Outline(outline).Background(background);
}

}  // namespace camctl
