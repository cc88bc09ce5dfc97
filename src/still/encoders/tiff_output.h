// Where a TIFF picture's codes are collected on their way to its file.
#pragma once

#include <windows.h>

#include <optional>

#include "base/frame.h"
#include "still/encoders/picture_file.h"
#include "tiff/encode_g4.h"

namespace cam::still {

// A file that fits the buffer is created and written when it is complete, with one write; what cannot be
// coded leaves the disk alone. A larger one is written in pieces of the buffer, and at last the strip's
// length in its place.
class TiffOutput final : public tiff::G4Output {
  public:
    // `fileName` is not owned and must outlive the object. The header of a picture like `frame` is the first
    // that is collected.
    TiffOutput(const wchar_t* fileName, const ConstFrame& frame);
    bool allocated() const { return contents.Data() != nullptr; }

    std::uint8_t* GoOn(std::uint8_t* end, std::uint32_t room) override;
    bool Finish(std::uint8_t* end) override;

    // Nothing as long as no file has been touched.
    std::optional<PictureFile> file;

  private:
    // Small enough for a device; pages of five million pixels mostly fit.
    static constexpr DWORD kBufferBytes = 128 * 1024;

    bool Flush(const std::uint8_t* end);

    const wchar_t* const name;
    tiff::ByteBuffer contents{kBufferBytes, false};
    DWORD headerBytes = 0;
    DWORD written = 0;
};

}  // namespace cam::still
