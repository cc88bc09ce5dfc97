#include "libtiff_peer.h"

#include <string.h>

#include <algorithm>
#include <utility>

namespace cam::peer {

TIFF* MemoryTiff::Open(const char* mode) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    auto read = [](thandle_t self, void* to, tmsize_t size) -> tmsize_t {
        auto& me = *static_cast<MemoryTiff*>(self);
        if (me.position >= me.file.size()) return 0;
        const auto count = std::min<uint64_t>(static_cast<uint64_t>(size), me.file.size() - me.position);
        memcpy(to, me.file.data() + me.position, count);
        me.position += count;
        return static_cast<tmsize_t>(count);
    };
    auto write = [](thandle_t self, void* from, tmsize_t size) -> tmsize_t {
        auto& me = *static_cast<MemoryTiff*>(self);
        const auto count = static_cast<size_t>(size);
        if (me.file.size() < me.position + count) me.file.resize(me.position + count);
        memcpy(me.file.data() + me.position, from, count);
        me.position += count;
        return size;
    };
    auto seek = [](thandle_t self, toff_t offset, int whence) -> toff_t {
        auto& me = *static_cast<MemoryTiff*>(self);
        const uint64_t base = whence == SEEK_CUR ? me.position : whence == SEEK_END ? me.file.size() : 0;
        return me.position = base + offset;
    };
    auto close = [](thandle_t) { return 0; };
    auto size = [](thandle_t self) -> toff_t { return static_cast<MemoryTiff*>(self)->file.size(); };
    return TIFFClientOpen("memory", mode, this, read, write, seek, close, size, nullptr, nullptr);
}

const std::vector<uint8_t>& MemoryTiff::Close() {
    if (TIFF* open = std::exchange(tiff, nullptr)) TIFFClose(open);
    return file;
}

void DescribeG4(TIFF* tiff, uint32_t width, uint32_t rows) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, rows);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
}

std::vector<uint8_t> LibtiffEncodeG4(const uint8_t* raster, uint32_t width, uint32_t rows) {
    MemoryTiff writer;
    DescribeG4(writer.get(), width, rows);
    std::vector<uint8_t> copy(raster,
                              raster + size_t{width / 8} * rows);  // libtiff may change what it is given
    TIFFWriteEncodedStrip(writer.get(), 0, copy.data(), static_cast<tmsize_t>(copy.size()));
    MemoryTiff reader(writer.Close());
    std::vector<uint8_t> strip(static_cast<size_t>(TIFFRawStripSize(reader.get(), 0)));
    TIFFReadRawStrip(reader.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    return strip;
}

std::vector<uint8_t> LibtiffDecodeG4(const uint8_t* strip, size_t size, uint32_t width, uint32_t rows) {
    MemoryTiff writer;
    DescribeG4(writer.get(), width, rows);
    TIFFWriteRawStrip(writer.get(), 0, const_cast<uint8_t*>(strip), static_cast<tmsize_t>(size));
    MemoryTiff reader(writer.Close());
    std::vector<uint8_t> raster(size_t{width / 8} * rows);
    const auto wanted = static_cast<tmsize_t>(raster.size());
    if (!reader.get() || TIFFReadEncodedStrip(reader.get(), 0, raster.data(), wanted) != wanted)
        raster.clear();
    return raster;
}

}  // namespace cam::peer
