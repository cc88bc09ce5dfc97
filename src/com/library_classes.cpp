#include "com/library_classes.h"

#include "com/server.h"
#include "still/sample_grabber.h"
#include "still/still_image_sink.h"

using namespace cam;

namespace {
const com::ComClass kClasses[] = {
    {kClsidSampleGrabber, L"SampleGrabber", com::kBothThreadingModels, true, still::CreateSampleGrabber},
    {kClsidStillImageSink, still::kStillImageSinkSetup.name, com::kBothThreadingModels, true,
     still::CreateStillImageSink},
};
}  // namespace

com::ClassTable com::LibraryClasses() {
    return kClasses;
}

// ---- What COM and the registration tool look for --------------------------------------------------------

STDAPI DllRegisterServer() {
    return com::RegisterServer(kClasses);
}

STDAPI DllUnregisterServer() {
    return com::UnregisterServer(kClasses);
}

STDAPI DllCanUnloadNow() {
    return com::CanUnloadServer();
}

STDAPI DllGetClassObject(REFCLSID id, REFIID interfaceId, LPVOID* out) {
    return com::GetClassObject(kClasses, id, interfaceId, out);
}
