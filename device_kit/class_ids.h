// The classes of devicekit.dll.
#pragma once

#include <windows.h>

namespace kit {

// The platform's camera: {F80B6E95-B55A-4619-AEC4-A10EAEDE980C}
constexpr CLSID kClsidCaptureFilter = {
    0xF80B6E95, 0xB55A, 0x4619, {0xAE, 0xC4, 0xA1, 0x0E, 0xAE, 0xDE, 0x98, 0x0C}};
// {6B3C0F5D-52C4-4B8E-9B53-0E9D1E4A7C21}
constexpr CLSID kClsidColorConverter = {
    0x6B3C0F5D, 0x52C4, 0x4B8E, {0x9B, 0x53, 0x0E, 0x9D, 0x1E, 0x4A, 0x7C, 0x21}};

}  // namespace kit
