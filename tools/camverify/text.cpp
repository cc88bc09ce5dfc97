#include "text.h"

#include <algorithm>
#include <cstdint>

namespace verify {

namespace {

struct KnownResult {
    unsigned result;
    const char* meaning;
    const char* remedy;
};

// What bringing a camera up may answer.
constexpr KnownResult kKnownResults[] = {
    {0x80070002, "no such file or device", "see that the camera driver's name and settings are there"},
    {0x80070005, "access denied",
     "close the program that has the camera, or run with the rights that the driver asks for"},
    {0x80070012, "no camera driver is active",
     "load the camera driver (device class {CB998A05-122C-4166-846A-933E4D7E3C86})"},
    {0x80070015, "the device is not ready", "switch the camera on, or wait until it has resumed"},
    {0x80070020, "in use by another program", "close the program that has the camera"},
    {0x8007007E, "a library is missing",
     "put Imvoxa.dll, or the library that it needs, where the system finds it"},
    {0x8007007F, "an operation is missing in a library",
     "install the Imvoxa.dll that belongs to this device"},
    {0x8001010D, "refused inside another call or message", "call again when that has returned"},
    {0x800700AA, "in use by another program", "close the program that has the camera"},
    {0x800700C1, "not a library for this processor",
     "install the library that is built for this processor and width"},
    {0x8007048F, "the device is not connected", "connect the camera, and restart its driver"},
    {0x80004005, "unspecified failure", "see the camera driver's own messages"},
    {0x80040154, "a class is not registered",
     "register ocellus.dll and the camera's capture filter (regsvr32, or DllRegisterServer)"},
    {0x800401F0, "COM is not initialised",
     "keep a thread in the multithreaded apartment while the camera is up"},
    {0x80040217, "no combination of filters joins the pins",
     "install the system's colour converter and video renderer"},
};

const KnownResult* Find(LONG result) {
    for (const KnownResult& known : kKnownResults) {
        if (static_cast<LONG>(known.result) == result) return &known;
    }
    return nullptr;
}

}  // namespace

std::string Utf8(std::wstring_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        std::uint32_t point = text[i];
        if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size()) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U);
        }
        const auto rest = [&](int shift) { bytes += static_cast<char>(0x80 | (point >> shift & 0x3F)); };
        if (point < 0x80) {
            bytes += static_cast<char>(point);
        } else if (point < 0x800) {
            bytes += static_cast<char>(0xC0 | point >> 6);
            rest(0);
        } else if (point < 0x10000) {
            bytes += static_cast<char>(0xE0 | point >> 12);
            rest(6);
            rest(0);
        } else {
            bytes += static_cast<char>(0xF0 | point >> 18);
            rest(12);
            rest(6);
            rest(0);
        }
    }
    return bytes;
}

std::wstring Wide(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

std::string Hex(unsigned value) {
    std::string digits;
    for (int shift = 28; shift >= 0; shift -= 4) digits += "0123456789ABCDEF"[value >> shift & 15];
    return "0x" + digits;
}

std::string ResultText(LONG result) {
    if (result >= -0x10000) return std::to_string(result);
    const KnownResult* const known = Find(result);
    return Hex(static_cast<unsigned>(result)) + (known ? std::string(" (") + known->meaning + ")" : "");
}

const char* RemedyFor(LONG result) {
    const KnownResult* const known = Find(result);
    return known ? known->remedy : "look the result up, and see the camera driver's own messages";
}

}  // namespace verify
