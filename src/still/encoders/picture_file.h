// The file that a picture is written to: made anew, and gone again when anything fails.
#pragma once

#include <windows.h>

#include "still/encoders/byte_sink.h"

namespace cam::still {

class PictureFile final : public ByteSink {
  public:
    // `fileName` is not owned and must outlive the object. Write access, no sharing, replaces a file of that
    // name.
    explicit PictureFile(const wchar_t* fileName);
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;
    ~PictureFile();

    // Opening counts as failed for a handle of 0 only. The invalid handle is let through on purpose: the
    // first write to it fails, and with that the picture, by the same way as on a full disk.
    bool opened() const { return handle != nullptr; }

    // The count that the system reports decides, not what it answers besides.
    bool Write(std::span<const std::uint8_t> bytes) override;
    bool Restart() override;

    // In the place of bytes that are written already.
    bool WriteAt(DWORD offset, std::span<const std::uint8_t> bytes);

    // Closes the file, and deletes it unless everything went well. Then 0, E_OUTOFMEMORY, or the thread's
    // last error plus 0x80000000; the last error is that of closing or deleting when one of these failed as
    // well, so for a file that could not be created it says why.
    DWORD Finish(EncodeStatus status);

  private:
    const wchar_t* name;
    HANDLE handle;
};

}  // namespace cam::still
