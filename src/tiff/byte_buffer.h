// A growable, always zero-terminated byte array with a bit writer and little-endian integers.
#pragma once

#include <stdint.h>

namespace cam::tiff {

// Owns its block. Nothing here throws; every failure is a false result, and the contents stay as they were. One thread at a
// time.
class ByteBuffer {
  public:
    // `capacity` in bytes. A buffer that is not `growable` refuses what does not fit. When the block cannot be allocated,
    // Data() is null and every write fails.
    ByteBuffer(uint32_t capacity, bool growable);
    ~ByteBuffer();
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;

    // Empties the buffer and sends the bit writer back to its first byte; the block is kept.
    void Clear();

    // Makes room for `required` bytes in all; a request equal to the capacity grows the buffer already. True also when the
    // growth itself failed: callers compare the capacity.
    bool Reserve(uint32_t required);

    // Gives the block room for `newCapacity` bytes; never less than the contents, and less than now only with `allowShrink`.
    bool Resize(uint32_t newCapacity, bool allowShrink);

    bool AppendBytes(const void* bytes, uint32_t count);

    // Appends `value`, least significant byte first, in `width` bytes; bytes past the fourth are 0.
    bool WriteUInt(uint32_t value, uint32_t width);

    // Appends the low `count` (at most 32) bits of `value`, the most significant first. The bit writer owns the contents from byte 0:
    // it overwrites what the other writers appended.
    bool PutBits(uint32_t value, uint32_t count);

    // Fills a partly written byte with `fillBit`.
    void PadToByte(uint32_t fillBit);

    // Takes `length` bytes that were written directly to Data() as the contents.
    bool SetLength(uint32_t length);

    // While frozen every write fails.
    void SetFrozen(bool frozen) { frozen_ = frozen; }
    // While set, the destructor leaves the block to somebody else, who frees it with delete[].
    void SetBorrowed(bool borrowed) { borrowed_ = borrowed; }

    bool IsGrowable() const { return growable_ != 0; }
    uint8_t* Data() { return data_; }
    const uint8_t* Data() const { return data_; }
    uint32_t Length() const { return length_; }
    uint32_t Capacity() const { return capacity_; }

  private:
    void ResetGrowthPolicy();
    void ResetBitWriter();
    void AdvanceBitWriter();
    void UpdateLengthFromBits();

    uint32_t growthIncrement_;
    uint32_t reserveCalls_;
    uint8_t exactNextGrowth_;
    uint8_t growable_;
    uint8_t frozen_ = 0;
    uint8_t borrowed_ = 0;
    [[maybe_unused]] uint32_t reserved_ = 0;
    uint32_t capacity_;
    uint8_t* data_;  // capacity_ + 2 bytes; the one at length_ is 0
    uint32_t length_ = 0;
    uint32_t bitByteIndex_;  // the byte that the bit writer fills
    uint32_t bitMask_;       // the bit to be written next; 0x80 at a byte boundary
    uint32_t bitsInByte_;
    uint32_t readOverrun_;  // of the bit reader, which is not part of this build
};

}  // namespace cam::tiff
