// Any header: libtiff reads from it what was put in.
#include <stdlib.h>
#include <string.h>

#include <string>

#include "libtiff_peer.h"
#include "tiff/tiff_file.h"

using namespace cam::tiff;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Flags, width, rows, description.
    if (size < 3) return 0;
    const bool grey8 = data[0] & 1, group4 = data[0] & 2, trailer = data[0] & 4, described = data[0] & 8;
    const uint32_t width = data[1] * 8u + 8, rows = data[2] + 1u;
    const std::string text = std::string(reinterpret_cast<const char*>(data) + 3, size - 3).c_str();
    const uint32_t stripBytes = (grey8 ? width : width / 8) * rows;
    ByteBuffer file(0, true);
    if (!WriteTiffHeader(width, rows, stripBytes, grey8, group4, described ? text.c_str() : nullptr, file,
                         trailer))
        abort();
    const std::vector<uint8_t> strip(stripBytes, 0x5A);
    if (!file.AppendBytes(strip.data(), stripBytes)) abort();

    const cam::peer::MemoryTiff reader({file.Data(), file.Data() + file.Length()});
    if (!reader.get()) abort();
    const bool compressed = group4 && !grey8;
    if (reader.Field<uint32_t>(TIFFTAG_IMAGEWIDTH) != width ||
        reader.Field<uint32_t>(TIFFTAG_IMAGELENGTH) != rows ||
        reader.Field<uint16_t>(TIFFTAG_BITSPERSAMPLE) != (grey8 ? 8 : 1) ||
        reader.Field<uint16_t>(TIFFTAG_COMPRESSION) != (compressed ? 4 : 1) ||
        reader.Field<uint16_t>(TIFFTAG_PHOTOMETRIC) != (grey8 ? 1 : 0) ||
        reader.Field<float>(TIFFTAG_XRESOLUTION) != 300.0f)
        abort();
    const char* found = reader.Field<const char*>(TIFFTAG_IMAGEDESCRIPTION);
    if ((found != nullptr) != described || (found && text != found)) abort();
    std::vector<uint8_t> read(stripBytes);
    if (TIFFReadRawStrip(reader.get(), 0, read.data(), stripBytes) != static_cast<tmsize_t>(stripBytes) ||
        read != strip)
        abort();
    return 0;
}
