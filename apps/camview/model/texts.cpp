#include "model/texts.h"

#include <ocellus/cam_properties.hpp>

#include <algorithm>

namespace camview {

namespace {
constexpr const wchar_t* kTexts[] = {
#define CAMVIEW_TEXT(name, text) text,
    CAMVIEW_TEXTS(CAMVIEW_TEXT)
#undef CAMVIEW_TEXT
};
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

std::wstring SayProperty(int id) {
    const ocellus::PropertyName* const property = ocellus::FindProperty(id);
    if (!property) return Say(Text::PropertyNumber, {std::to_wstring(id)});
    std::wstring name(property->name.begin(), property->name.end());
    std::replace(name.begin(), name.end(), L'-', L' ');
    name[0] = static_cast<wchar_t>(name[0] - L'a' + L'A');
    return name;
}

std::wstring SayPlainly(Text text) {
    std::wstring said = Say(text);
    std::erase(said, L'&');
    return said;
}

}  // namespace camview
