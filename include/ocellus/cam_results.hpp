// Results of the library in words: what they are called, and what to do about them. C++17, header only.
#pragma once

#include <ocellus/cam.h>

#include <string>
#include <string_view>

namespace ocellus {

struct ResultText {
    camResult result;
    std::wstring_view name;
    std::wstring_view remedy;
};

// The system's error as the HRESULT that the library hands out.
constexpr camResult SystemResult(unsigned error) {
    return static_cast<camResult>(0x80070000u | error);
}
constexpr camResult kInsideACall = static_cast<camResult>(0x8001010Du);
constexpr camResult kNotRegistered = static_cast<camResult>(0x80040154u);
constexpr camResult kNoFormat = static_cast<camResult>(0x80040200u);
constexpr camResult kNoPin = static_cast<camResult>(0x80040216u);

// Those that a camera is known to answer.
inline constexpr ResultText kResultTexts[] = {
    {camOk, L"camOk", L""},
    {camNotInitialised, L"camNotInitialised", L"Choose a camera first."},
    {camInvalidArgument, L"camInvalidArgument", L"Give a value that this camera has."},
    {camCaptureFailed, L"camCaptureFailed", L"Start the preview, then try again."},
    {camFailed, L"camFailed", L"Check the camera's connection, then try again."},
    {SystemResult(0x05), L"access denied",
     L"Cameras are switched off for privacy: allow them in Settings, Privacy, Camera."},
    {SystemResult(0x12), L"no camera", L"Connect a camera."},
    {SystemResult(0x1F), L"in use", L"Another program uses the camera: close it."},
    {SystemResult(0x57), L"invalid parameter", L"Correct the scenario of the device kit."},
    {SystemResult(0x7E), L"no imager library", L"Put Imvoxa.dll beside ocellus.dll."},
    {SystemResult(0x7F), L"another imager library", L"Install the Imvoxa.dll that belongs to this device."},
    {SystemResult(0xAA), L"busy", L"Another program uses the camera: close it."},
    {SystemResult(0x48F), L"not connected", L"Plug the camera in, or choose another one."},
    {SystemResult(0x5AA), L"no resources",
     L"Close other programs that use a camera, or plug this one into another port."},
    {kInsideACall, L"refused inside a call", L"Try again when the call that is under way has returned."},
    {kNotRegistered, L"class not registered", L"Register the camera's driver."},
    {kNoFormat, L"no format", L"The camera sends nothing that is understood: choose another one."},
    {kNoPin, L"no such pin", L"The camera came back as another one: choose it again."},
};

// Null: not one of those.
constexpr const ResultText* FindResultText(camResult result) {
    for (const ResultText& text : kResultTexts) {
        if (text.result == result) return &text;
    }
    return nullptr;
}

// "camFailed", "0x80070012, no camera", "0x80004005"
inline std::wstring ResultName(camResult result) {
    const ResultText* const text = FindResultText(result);
    if (result >= 0) return text ? std::wstring(text->name) : std::to_wstring(result);
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::wstring name = L"0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        name += static_cast<wchar_t>(kDigits[static_cast<unsigned long>(result) >> shift & 0xF]);
    }
    return text ? name + L", " + std::wstring(text->name) : name;
}

// A sentence for people.
inline std::wstring_view Remedy(camResult result) {
    const ResultText* const text = FindResultText(result);
    return text ? text->remedy
                : std::wstring_view(L"Check that the camera is connected and no other program uses it.");
}

}  // namespace ocellus
