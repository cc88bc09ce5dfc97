// A growable, always zero-terminated byte array with a bit writer and little-endian integers.
#pragma once

#include <stdint.h>

#include <span>

namespace cam::tiff {

// Owns its block. Nothing here throws; every failure is a false result, and the contents stay as they were.
// One thread at a time.
class ByteBuffer {
  public:
    // `initialCapacity` in bytes. A buffer that may not grow refuses what does not fit. When the block cannot
    // be allocated, Data() is null and every write fails.
    ByteBuffer(uint32_t initialCapacity, bool mayGrow);
    ~ByteBuffer();
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;

    // Empties the buffer and sends the bit writer back to its first byte; the block is kept.
    void Clear();

    // Makes room for `required` bytes in all; a request equal to the capacity grows the buffer already. True
    // also when the growth itself failed: callers compare the capacity.
    bool Reserve(uint32_t required);

    // Gives the block room for `newCapacity` bytes; never less than the contents, and less than now only with
    // `allowShrink`.
    bool Resize(uint32_t newCapacity, bool allowShrink);

    bool AppendBytes(const void* bytes, uint32_t count);

    // Appends `value`, least significant byte first, in `width` bytes; bytes past the fourth are 0.
    bool WriteUInt(uint32_t value, uint32_t width);

    // Appends the low `count` (at most 32) bits of `value`, the most significant first. The bit writer owns
    // the contents from byte 0: it overwrites what the other writers appended.
    bool PutBits(uint32_t value, uint32_t count);

    // Fills a partly written byte with `fillBit`.
    void PadToByte(uint32_t fillBit);

    // Takes `newLength` bytes that were written directly to Data() as the contents.
    bool SetLength(uint32_t newLength);

    // While frozen every write fails.
    void SetFrozen(bool on) { frozen = on; }
    // While set, the destructor leaves the block to somebody else, who frees it with delete[].
    void SetBorrowed(bool on) { borrowed = on; }

    bool IsGrowable() const { return growable != 0; }
    uint8_t* Data() { return data; }
    const uint8_t* Data() const { return data; }
    uint32_t Length() const { return length; }
    std::span<const uint8_t> Bytes() const { return {data, length}; }
    uint32_t Capacity() const { return capacity; }

  private:
    void ResetGrowthPolicy();
    void ResetBitWriter();
    void AdvanceBitWriter();
    void UpdateLengthFromBits();

    uint32_t growthIncrement;
    uint32_t reserveCalls;
    uint8_t exactNextGrowth;
    uint8_t growable;
    uint8_t frozen = 0;
    uint8_t borrowed = 0;
    [[maybe_unused]] uint32_t reserved = 0;
    uint32_t capacity;
    uint8_t* data;  // capacity + 2 bytes; the one at length is 0
    uint32_t length = 0;
    uint32_t bitByteIndex;  // the byte that the bit writer fills
    uint32_t bitMask;       // the bit to be written next; 0x80 at a byte boundary
    uint32_t bitsInByte;
    uint32_t readOverrun;  // of the bit reader, which is not part of this build
};

}  // namespace cam::tiff
