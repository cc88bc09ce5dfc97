#include "tiff/byte_buffer.h"

#include <string.h>

#include <new>

namespace cam::tiff {
namespace {

constexpr uint32_t kFirstIncrement = 200;
constexpr uint32_t kLargestIncrement = 64000;
constexpr uint32_t kByteBoundary = 0x80;  // the bit writer's mask before the first bit of a byte
constexpr uint32_t kSpareBytes =
    2;  // behind the capacity: the terminating zero, and the bit writer's next byte
constexpr uint32_t kLargestCapacity = UINT32_MAX - kSpareBytes;

uint8_t* AllocateBlock(uint32_t capacity) {
    if (capacity > kLargestCapacity) return nullptr;
    return new (std::nothrow) uint8_t[size_t{capacity} + kSpareBytes];
}

}  // namespace

ByteBuffer::ByteBuffer(uint32_t capacity, bool growable)
    : growable_(growable), capacity_(capacity), data_(AllocateBlock(capacity)) {
    ResetGrowthPolicy();
    ResetBitWriter();
    if (data_) {
        data_[0] = 0;
    } else {
        capacity_ = 0;
        growable_ = 0;
        frozen_ = 1;
    }
}

ByteBuffer::~ByteBuffer() {
    if (!borrowed_) delete[] data_;
}

void ByteBuffer::ResetGrowthPolicy() {
    growthIncrement_ = kFirstIncrement;
    reserveCalls_ = 0;
    exactNextGrowth_ = 1;
}

void ByteBuffer::ResetBitWriter() {
    bitByteIndex_ = 0;
    bitMask_ = kByteBoundary;
    bitsInByte_ = 0;
    readOverrun_ = 0;
}

void ByteBuffer::Clear() {
    ResetBitWriter();
    SetLength(0);
}

bool ByteBuffer::SetLength(uint32_t length) {
    if (frozen_ || length > capacity_) return false;
    length_ = length;
    data_[length_] = 0;
    return true;
}

bool ByteBuffer::Reserve(uint32_t required) {
    if (frozen_) return false;
    ++reserveCalls_;
    if (required < capacity_) return true;
    if (!growable_) return false;
    uint32_t newCapacity = required;
    if (!exactNextGrowth_) {
        // Growths in quick succession (few reserve calls between them) make the next one larger.
        const uint32_t candidate = growthIncrement_ * 100 / reserveCalls_;
        if (candidate > growthIncrement_) growthIncrement_ = candidate;
        if (growthIncrement_ > kLargestIncrement) growthIncrement_ = kLargestIncrement;
        newCapacity =
            required > kLargestCapacity - growthIncrement_ ? kLargestCapacity : required + growthIncrement_;
    }
    Resize(newCapacity, true);
    reserveCalls_ = 0;
    exactNextGrowth_ = 0;
    return true;
}

bool ByteBuffer::Resize(uint32_t newCapacity, bool allowShrink) {
    if (newCapacity == capacity_ || newCapacity < length_) return true;
    if (frozen_) return false;
    if (newCapacity < capacity_) {
        if (!allowShrink) return true;
        ResetGrowthPolicy();
    }
    uint8_t* block = AllocateBlock(newCapacity);
    if (!block) return false;
    memcpy(block, data_, length_);
    delete[] data_;
    data_ = block;
    capacity_ = newCapacity;
    data_[length_] = 0;
    return true;
}

bool ByteBuffer::AppendBytes(const void* bytes, uint32_t count) {
    if (frozen_ || count > kLargestCapacity - length_) return false;
    if (!Reserve(length_ + count)) return false;
    if (length_ > capacity_ || count > capacity_ - length_) return false;
    if (count) memcpy(data_ + length_, bytes, count);
    length_ += count;
    data_[length_] = 0;
    return true;
}

bool ByteBuffer::WriteUInt(uint32_t value, uint32_t width) {
    if (frozen_ || width > kLargestCapacity - length_) return false;
    if (!Reserve(length_ + width)) return false;
    if (length_ + width > capacity_) return false;
    for (uint32_t i = 0; i < width; ++i) {
        data_[length_ + i] = i < sizeof value ? static_cast<uint8_t>(value >> (8 * i)) : 0;
    }
    length_ += width;
    data_[length_] = 0;
    return true;
}

void ByteBuffer::AdvanceBitWriter() {
    ++bitByteIndex_;
    bitMask_ = kByteBoundary;
    data_[bitByteIndex_] = 0;
    bitsInByte_ = 0;
}

void ByteBuffer::UpdateLengthFromBits() {
    length_ = bitByteIndex_ + (bitMask_ != kByteBoundary ? 1 : 0);
    data_[length_] = 0;
}

bool ByteBuffer::PutBits(uint32_t value, uint32_t count) {
    if (frozen_) return false;
    if (bitMask_ == kByteBoundary) data_[bitByteIndex_] = 0;
    const uint32_t lastByte = bitByteIndex_ + (count + bitsInByte_) / 8;
    if (!Reserve(lastByte) || lastByte > capacity_) return false;
    for (uint32_t left = count; left > 0; --left) {
        if ((value >> (left - 1)) & 1)
            data_[bitByteIndex_] = static_cast<uint8_t>(data_[bitByteIndex_] | bitMask_);
        bitMask_ >>= 1;
        ++bitsInByte_;
        if (bitMask_ == 0) AdvanceBitWriter();
    }
    UpdateLengthFromBits();
    return true;
}

void ByteBuffer::PadToByte(uint32_t fillBit) {
    if (frozen_) return;
    if (bitMask_ != kByteBoundary) {
        for (; bitMask_; bitMask_ >>= 1) {
            const uint32_t byte = data_[bitByteIndex_];
            data_[bitByteIndex_] = static_cast<uint8_t>(fillBit ? byte | bitMask_ : byte & ~bitMask_);
        }
        AdvanceBitWriter();
    }
    UpdateLengthFromBits();
}

}  // namespace cam::tiff
