#include "model/texts.h"

#include <ocellus/cam_properties.hpp>

#include <iterator>

namespace camview {

namespace {
constexpr const wchar_t* kTexts[] = {
#define CAMVIEW_TEXT(name, text) text,
    CAMVIEW_TEXTS(CAMVIEW_TEXT)
#undef CAMVIEW_TEXT
};

// In the order of the library's names.
constexpr Text kProperties[] = {
    Text::Brightness,   Text::Contrast,     Text::Hue,
    Text::Saturation,   Text::Sharpness,    Text::Gamma,
    Text::ColorEnable,  Text::WhiteBalance, Text::BacklightCompensation,
    Text::Pan,          Text::Tilt,         Text::Roll,
    Text::Zoom,         Text::Exposure,     Text::Iris,
    Text::Focus,        Text::Flash,        Text::FocusStep,
    Text::FocusMaximum, Text::FocusMinimum, Text::FocusFixed,
};
static_assert(std::size(kProperties) == std::size(ocellus::kPropertyNames));
}  // namespace

const wchar_t* Say(Text text) {
    return kTexts[static_cast<size_t>(text)];
}

std::wstring Say(Text text, std::initializer_list<std::wstring_view> words) {
    std::wstring said = Say(text);
    size_t at = 0;
    for (const std::wstring_view word : words) {
        at = said.find(L"{}", at);
        if (at == std::wstring::npos) break;
        said.replace(at, 2, word);
        at += word.size();
    }
    return said;
}

std::wstring SayCount(Text one, Text many, long long count) {
    return Say(count == 1 ? one : many, {std::to_wstring(count)});
}

std::wstring SaySize(long width, long height) {
    return Say(Text::Size, {std::to_wstring(width), std::to_wstring(height)});
}

std::wstring SayProperty(int id) {
    const ocellus::PropertyName* const property = ocellus::FindProperty(id);
    if (!property) return Say(Text::PropertyNumber, {std::to_wstring(id)});
    return Say(kProperties[property - ocellus::kPropertyNames]);
}

std::wstring SayPlainly(Text text) {
    std::wstring said = Say(text);
    std::erase(said, L'&');
    return said;
}

}  // namespace camview
