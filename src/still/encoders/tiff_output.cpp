#include "still/encoders/tiff_output.h"

#include <algorithm>
#include <array>

#include "tiff/tiff_file.h"

namespace cam::still {

TiffOutput::TiffOutput(const wchar_t* fileName, const ConstFrame& frame) : name(fileName) {
    const DWORD width = tiff::BilevelWidth(static_cast<DWORD>(frame.width));
    tiff::WriteTiffHeader(width, frame.rows(), 0, false, true, nullptr, contents, false);
    headerBytes = contents.Length();
}

std::uint8_t* TiffOutput::GoOn(std::uint8_t* end, std::uint32_t room) {
    if (!end) return contents.Data() + headerBytes;
    if (end + room <= contents.Data() + kBufferBytes) return end;
    return Flush(end) ? contents.Data() : nullptr;
}

bool TiffOutput::Finish(std::uint8_t* end) {
    const auto fileBytes = written + static_cast<DWORD>(end - contents.Data());
    std::array<std::uint8_t, 4> stripBytes;
    for (unsigned i = 0; i < stripBytes.size(); ++i)
        stripBytes[i] = static_cast<std::uint8_t>((fileBytes - headerBytes) >> (8 * i));
    if (written > 0) return Flush(end) && file->WriteAt(tiff::kStripBytesOffset, stripBytes);
    std::copy(stripBytes.begin(), stripBytes.end(), contents.Data() + tiff::kStripBytesOffset);
    return Flush(end);
}

bool TiffOutput::Flush(const std::uint8_t* end) {
    const std::span<const std::uint8_t> bytes(contents.Data(), end);
    if (!file) file.emplace(name);
    if (!file->opened() || !file->Write(bytes)) return false;
    written += static_cast<DWORD>(bytes.size());
    return true;
}

}  // namespace cam::still
