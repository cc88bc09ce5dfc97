// libtiff on files in memory: the judge of what we write, and its rival.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <tiffio.h>

#include <vector>

namespace cam::peer {

// A file in memory, read or written through libtiff. Errors are silent; null stands for a file that libtiff
// refuses.
class MemoryTiff {
  public:
    MemoryTiff() { tiff = Open("w"); }
    explicit MemoryTiff(std::vector<uint8_t> contents) : file(std::move(contents)) {
        tiff = Open("rc");  // c: strips as they are, not chopped
    }
    ~MemoryTiff() { Close(); }
    MemoryTiff(const MemoryTiff&) = delete;
    MemoryTiff& operator=(const MemoryTiff&) = delete;

    TIFF* get() const { return tiff; }
    const std::vector<uint8_t>& Close();  // what was written

    // A field that libtiff stores as a T; a value-initialised one when it is absent.
    template <typename T>
    T Field(uint32_t tag) const {
        T value{};
        return tiff && TIFFGetField(tiff, tag, &value) ? value : T{};
    }

  private:
    TIFF* Open(const char* mode);

    std::vector<uint8_t> file;
    uint64_t position = 0;
    TIFF* tiff;
};

// Sets the fields of a bilevel Group 4 file of one strip.
void DescribeG4(TIFF* tiff, uint32_t width, uint32_t rows);

// The raster as libtiff's Group 4 strip. Any number of rows above 0.
std::vector<uint8_t> LibtiffEncodeG4(const uint8_t* raster, uint32_t width, uint32_t rows);

// The raster back from a strip; empty when libtiff reports an error.
std::vector<uint8_t> LibtiffDecodeG4(const uint8_t* strip, size_t size, uint32_t width, uint32_t rows);

}  // namespace cam::peer
