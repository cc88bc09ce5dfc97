// Writes sample pictures into a folder: NAME.tif, NAME.pdf (the same strip behind a fax filter) and NAME.pbm
// (what decoders must find).
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "tiff/encode_g4.h"
#include "tiff/sample_rasters.h"
#include "tiff/tiff_file.h"

using namespace cam;

namespace {

// In points: what PDF readers accept as a page.
constexpr uint32_t kSmallestPage = 3;
constexpr uint32_t kLargestPage = 14400;

void Write(const std::string& path, const std::string& head, const void* data, size_t size,
           const std::string& tail) {
    FILE* file = fopen(path.c_str(), "wb");
    if (!file) {
        perror(path.c_str());
        exit(1);
    }
    fwrite(head.data(), 1, head.size(), file);
    fwrite(data, 1, size, file);
    fwrite(tail.data(), 1, tail.size(), file);
    if (fclose(file) != 0) exit(1);
}

// One page that is the picture, a point for each pixel.
void WritePdf(const std::string& path, const test::Raster& raster, const uint8_t* strip, uint32_t size) {
    const std::string w = std::to_string(raster.width), h = std::to_string(raster.rows);
    const std::string draw = w + " 0 0 " + h + " 0 0 cm /I Do";
    std::string head = "%PDF-1.4\n";
    std::string offsets;
    auto object = [&](const std::string& text) {
        char offset[24];
        snprintf(offset, sizeof offset, "%010zu 00000 n \n", head.size());
        offsets += offset;
        head += text;
    };
    object("1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n");
    object("2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n");
    object("3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 " + w + " " + h +
           "]/Contents 4 0 R/Resources<</XObject<</I 5 0 R>>>>>>endobj\n");
    object("4 0 obj<</Length " + std::to_string(draw.size()) + ">>stream\n" + draw + "\nendstream endobj\n");
    object("5 0 obj<</Type/XObject/Subtype/Image/Width " + w + "/Height " + h +
           "/BitsPerComponent 1/ColorSpace/DeviceGray/Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns " + w +
           "/Rows " + h + ">>/Length " + std::to_string(size) + ">>stream\n");
    const std::string end = "\nendstream endobj\n";
    const std::string tail = end + "xref\n0 6\n0000000000 65535 f \n" + offsets +
                             "trailer<</Size 6/Root 1 0 R>>\nstartxref\n" +
                             std::to_string(head.size() + size + end.size()) + "\n%%EOF\n";
    Write(path, head, strip, size, tail);
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        fprintf(stderr, "usage: tiff_samples FOLDER\n");
        return 2;
    }
    int number = 0;
    for (const test::Raster& raster : test::SampleRasters()) {
        ++number;
        const std::string path = std::string(arguments[1]) + "/" + std::to_string(100 + number);
        const std::string pbm =
            "P4\n" + std::to_string(raster.width) + " " + std::to_string(raster.rows) + "\n";
        Write(path + ".pbm", pbm, raster.bits.data(), raster.bits.size(), "");

        std::vector<uint16_t> pixels;
        for (uint32_t y = 0; y < raster.rows; ++y) {
            for (uint32_t x = 0; x < raster.width; ++x) pixels.push_back(raster.IsBlack(x, y) ? 0 : 0xFFFF);
        }
        tiff::ByteBuffer file(16, true), strip(16, true);
        const ConstFrame frame = {
            {reinterpret_cast<const uint8_t*>(pixels.data()), pixels.size() * sizeof pixels[0]},
            static_cast<int32_t>(raster.width),
            -static_cast<int32_t>(raster.rows),
            raster.width * 2};
        if (!EncodeBilevelTiff(file, frame, nullptr, false) ||
            !EncodeG4(raster.bits, raster.width, raster.rows, strip)) {
            return 1;
        }
        Write(path + ".tif", "", file.Data(), file.Length(), "");
        if (raster.width <= kLargestPage && raster.rows >= kSmallestPage)
            WritePdf(path + ".pdf", raster, strip.Data(), strip.Length());
    }
    return 0;
}
