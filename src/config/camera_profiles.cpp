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

ConfigNode FindProfiles(const ConfigDocument& document) {
    const ConfigNode root = document.GetDocElement();
    return root && !root.IsDeleted() ? root.FindSection(L"Profiles") : ConfigNode();
}

bool FillSlots(const ConfigNode& section, wchar_t** slots) {
    ConfigNode child = section.FirstChild();
    wchar_t* name = nullptr;  // the last one read, owned by its slot
    for (int index = 0; child; ++index, child = child.NextSibling()) {
        if (index >= kProfileSlots) return false;
        if (child.IsSection() && !child.IsDeleted()) {
            // A profile without a name goes by the name of the one before it, the very same string.
            if (UniqueText text = child.GetName()) name = text.release();
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
        const ConfigDocument document = ConfigDocument::LoadXMLDocument(path, error);
        if (!document) return false;
        const ConfigNode section = FindProfiles(document);
        if (!section || !FillSlots(section, slots.get())) return false;
        *profiles = slots.release();
        return true;
    } catch (const HresultError&) {
        return false;
    }
}

}  // namespace cam::config
