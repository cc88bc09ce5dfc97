// Where an encoder's bytes go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace cam::still {

class ByteSink {
  public:
    // False when not all of it could be taken. Called in order, on the thread that encodes.
    virtual bool Write(std::span<const std::uint8_t> bytes) = 0;

    // Forgets all that was written, for another attempt. False when that cannot be.
    virtual bool Restart() = 0;

  protected:
    ~ByteSink() = default;
};

// Encoders collect their output in a buffer of this many bytes, so that the file system sees few large
// writes.
constexpr std::size_t kOutputBufferBytes = 65536;

enum class EncodeStatus {
    Done,
    OutOfMemory,
    Failed,  // the library refused or the sink did not take everything
};

}  // namespace cam::still
