// Identifiers of the platform's that no header declares.
#pragma once

#include <windows.h>

namespace cam {

// The system's camera capture filter: {F80B6E95-B55A-4619-AEC4-A10EAEDE980C}
constexpr CLSID kClsidVideoCapture = {
    0xF80B6E95, 0xB55A, 0x4619, {0xAE, 0xC4, 0xA1, 0x0E, 0xAE, 0xDE, 0x98, 0x0C}};

// The class of camera drivers to the device manager: {CB998A05-122C-4166-846A-933E4D7E3C86}
constexpr GUID kCameraDeviceClass = {
    0xCB998A05, 0x122C, 0x4166, {0x84, 0x6A, 0x93, 0x3E, 0x4D, 0x7E, 0x3C, 0x86}};

}  // namespace cam
