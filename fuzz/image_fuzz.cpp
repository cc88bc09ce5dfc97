// Images as the emulator's loader reads them: a damaged one is refused, and one that is read can be moved to
// another base.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "emulator/pe_image.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/image_fuzz." + std::to_string(getpid());
    FILE* file = std::fopen(path.c_str(), "wb");
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    try {
        ce::PeImage image = ce::PeImage::Read(path);
        image.Relocate(image.base + 0x10000);
    } catch (const ce::Failure&) {
    }
    std::remove(path.c_str());
    return 0;
}
