// A file as the C library's text mode has it, character by character.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <optional>

#include "base/unique_resource.h"

namespace cam::config {

using UniqueStream = UniqueResource<FILE*, fclose>;

// Reads in text mode: a carriage return before a line feed is dropped, and Ctrl-Z (0x1A) ends the text on
// the desktop. Bytes become characters by the system's ANSI code page of one or two bytes a character,
// whatever locale the application has set: the same bytes mean the same on a device and on the desktop. A
// byte-order mark is text like any other.
class TextFile {
  public:
    bool Open(const wchar_t* path);

    // The next character; nothing at the end or when reading fails.
    std::optional<wchar_t> Next();

  private:
    static constexpr size_t kBlock = 1024;

    std::optional<unsigned char> NextByte();

    UniqueStream stream;
    size_t position = 0;
    size_t count = 0;
    unsigned char block[kBlock];
};

}  // namespace cam::config
