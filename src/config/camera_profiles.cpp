#include "config/camera_profiles.h"

#include <cstdlib>
#include <memory>

#include "config/config_document.h"

namespace cam::config {
namespace {

constexpr int kErrorLength = 200;

// Owns the block and its strings until they are handed out.
struct FreeProfiles {
    void operator()(wchar_t** slots) const {
        // Slots share a pointer only with the one filled before them.
        const wchar_t* freed = nullptr;
        for (int i = 0; i < kProfileSlots; ++i) {
            if (!slots[i] || slots[i] == freed) continue;
            freed = slots[i];
            free(slots[i]);
        }
        free(slots);
    }
};
using UniqueProfiles = std::unique_ptr<wchar_t*, FreeProfiles>;

DomNode FindProfiles(IXMLDOMDocument* document) {
    const DomNode root = ConfigDocument::GetDocElement(document);
    if (!root || ConfigDocument::IsDeleted(root.get())) return {};
    return ConfigDocument::FindSection(root.get(), L"Profiles");
}

bool FillSlots(IXMLDOMNode* section, wchar_t** slots) {
    DomNode child = ConfigDocument::FirstChild(section);
    wchar_t* name = nullptr;  // the last one read, owned by its slot
    for (int index = 0; child; ++index, child = ConfigDocument::NextSibling(child.get())) {
        if (index >= kProfileSlots) return false;
        if (ConfigDocument::IsSection(child.get()) && !ConfigDocument::IsDeleted(child.get())) {
            UniqueText text;
            // A profile without a name goes by the name of the one before it, the very same string.
            if (ConfigDocument::GetName(child.get(), &text)) name = text.release();
            slots[index] = name;
        }
    }
    return true;
}

}  // namespace

bool GetProfiles(const wchar_t* path, wchar_t*** profiles) noexcept {
    try {
        const size_t count = kProfileSlots;
        UniqueProfiles slots(static_cast<wchar_t**>(calloc(count, sizeof(wchar_t*))));
        if (!slots) return false;
        wchar_t error[kErrorLength];
        const DomDocument document = ConfigDocument::LoadXMLDocument(path, error, kErrorLength);
        if (!document) return false;
        const DomNode section = FindProfiles(document.get());
        if (!section || !FillSlots(section.get(), slots.get())) return false;
        *profiles = slots.release();
        return true;
    } catch (const HresultError&) {
        return false;
    }
}

}  // namespace cam::config
