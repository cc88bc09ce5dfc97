// Where a deflate stream's bits become bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace cam::still::deflate {

// Takes the stream's bytes in order. May leave by a long jump: nothing on the way has to be destroyed.
struct Output {
    void (*write)(void* context, const std::uint8_t* bytes, std::size_t count);
    void* context;
};

class BitWriter {
  public:
    explicit BitWriter(const Output& to) : output(to) {}

    // At most 16 bits, the first one lowest, and no other bits set.
    void Put(std::uint32_t value, unsigned count) {
        held |= value << heldCount;
        heldCount += count;
        if (heldCount >= 16) PutHeld();
    }

    // Fills the byte that was begun with zeros.
    void Align() { Put(0, (0u - heldCount) & 7); }

    // Hands out what is there; after Align() that is all.
    void Flush() {
        if (heldCount >= 8) buffer[used++] = static_cast<std::uint8_t>(held);
        held >>= heldCount & 8;
        heldCount &= 7;
        if (used > 0) output.write(output.context, buffer.data(), used);
        used = 0;
    }

  private:
    void PutHeld() {
        buffer[used] = static_cast<std::uint8_t>(held);
        buffer[used + 1] = static_cast<std::uint8_t>(held >> 8);
        held >>= 16;
        heldCount -= 16;
        used += 2;
        if (used >= kBufferBytes) Flush();
    }

    static constexpr std::size_t kBufferBytes = 8192;  // even: filled by two bytes at a time

    Output output;
    std::uint32_t held = 0;
    unsigned heldCount = 0;
    std::size_t used = 0;
    std::array<std::uint8_t, kBufferBytes + 1> buffer;  // one more that Flush() may find held
};

}  // namespace cam::still::deflate
