// Two-dimensional coding of a bilevel raster after ITU-T T.6 (Group 4).
#pragma once

#include <stdint.h>

#include <span>

#include "tiff/byte_buffer.h"

namespace cam::tiff {

// Widest line that can be coded: positions are signed 16-bit numbers and lines are whole bytes.
constexpr uint32_t kG4MaxWidth = 32760;

// The lines of a raster from the top on. Each is width / 8 bytes, the most significant bit is the leftmost
// pixel, 1 is black.
class G4Lines {
  public:
    // Valid until the next call.
    virtual const uint8_t* Next() = 0;

  protected:
    ~G4Lines() = default;
};

// Where the coded bytes go, a line's worth at a time.
class G4Output {
  public:
    // What stands before `end` (null at first) is not touched again. Where the coder goes on, with `room`
    // bytes to write to; null when there is no such place.
    virtual uint8_t* GoOn(uint8_t* end, uint32_t room) = 0;

    // Nothing follows. False when not all of it could be taken.
    virtual bool Finish(uint8_t* end) = 0;

  protected:
    ~G4Output() = default;
};

// Into a buffer's data area from its first byte on. A buffer that may grow does so as the codes need.
class BufferOutput final : public G4Output {
  public:
    explicit BufferOutput(ByteBuffer& to) : buffer(to) {}
    uint8_t* GoOn(uint8_t* end, uint32_t room) override;
    // The buffer's length is then what was written.
    bool Finish(uint8_t* end) override;

  private:
    uint32_t Used(const uint8_t* end) const;

    ByteBuffer& buffer;
};

// Codes `rows` lines of `width` pixels (a multiple of 8, at most kG4MaxWidth). No line ends, no alignment
// between lines; the end-of-block code and zero bits up to a whole byte close the data. False when the width
// is out of range, memory runs out or the output refuses. Any thread.
using EncodeG4Kernel = bool(G4Lines& lines, uint32_t width, uint32_t rows, G4Output& output);

// By the fastest kernel of this processor.
EncodeG4Kernel EncodeG4;

// A raster that is there as a whole. False also when it is shorter than `rows` lines; the buffer's contents
// are worthless then.
bool EncodeG4(std::span<const uint8_t> raster, uint32_t width, uint32_t rows, ByteBuffer& output,
              EncodeG4Kernel* kernel = EncodeG4);

}  // namespace cam::tiff
