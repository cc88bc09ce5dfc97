#include "api/camera_factory.h"

#include <new>

#include "dshow_camera/dshow_camera.h"
#include "imager_camera/imager_camera.h"

namespace cam {
namespace {

// Null as well when a member of the camera finds no memory.
template <typename Camera>
CameraDevice* Create() {
    try {
        return new (std::nothrow) Camera;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

CameraDevice* CreateCamera(int cameraType) {
    switch (cameraType) {
        case CAM_TYPE_DSHOW:
            return Create<DShowCamera>();
        case CAM_TYPE_IMAGER:
            return Create<ImagerCamera>();
        default:
            return nullptr;
    }
}

}  // namespace cam
