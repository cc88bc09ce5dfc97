#include "com/class_table.h"

#include "still/sample_grabber.h"
#include "still/still_image_sink.h"

namespace cam::com {

namespace {
// Filters are called from the threads of others; any other model would put proxies between them and the
// graph.
constexpr wchar_t kBothThreadingModels[] = L"Both";

const ComClass kClasses[] = {
    {kClsidSampleGrabber, L"SampleGrabber", kBothThreadingModels, still::CreateSampleGrabber},
    {kClsidStillImageSink, still::kStillImageSinkSetup.name, kBothThreadingModels,
     still::CreateStillImageSink},
};
}  // namespace

std::span<const ComClass> Classes() {
    return kClasses;
}

const ComClass* FindClass(REFCLSID id) {
    for (const ComClass& entry : kClasses) {
        if (IsEqualCLSID(entry.id, id)) return &entry;
    }
    return nullptr;
}

}  // namespace cam::com
