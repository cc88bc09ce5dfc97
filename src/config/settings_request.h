// What is wanted from a settings file: one record for each value.
#pragma once

#include <cstdint>

namespace cam::config {

// The record's layout is fixed: arrays of it are handed over by callers.
struct SettingsRequest {
    const wchar_t* section;  // null: the key counts in every section
    const wchar_t* key;
    int32_t isString;   // 0: `destination` is a 32-bit signed integer; else a buffer of wide characters
    void* destination;  // keeps what it holds when the key is not found
    // Of a string buffer, in characters. From an XML file one more is written, the terminator.
    int32_t length;
    unsigned char found;    // becomes 1 when the key was read
    unsigned char keyFlag;  // INI: becomes 0; XML: 1 when bit 0x20 of the key's flags is set, else 0
};
static_assert(sizeof(void*) != 4 || sizeof(SettingsRequest) == 24, "the settings request record");

}  // namespace cam::config
