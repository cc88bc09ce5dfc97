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

ByteBuffer::ByteBuffer(uint32_t initialCapacity, bool mayGrow)
    : growable(mayGrow), capacity(initialCapacity), data(AllocateBlock(initialCapacity)) {
    ResetGrowthPolicy();
    ResetBitWriter();
    if (data) {
        data[0] = 0;
    } else {
        capacity = 0;
        growable = 0;
        frozen = 1;
    }
}

ByteBuffer::~ByteBuffer() {
    if (!borrowed) delete[] data;
}

void ByteBuffer::ResetGrowthPolicy() {
    growthIncrement = kFirstIncrement;
    reserveCalls = 0;
    exactNextGrowth = 1;
}

void ByteBuffer::ResetBitWriter() {
    bitByteIndex = 0;
    bitMask = kByteBoundary;
    bitsInByte = 0;
    readOverrun = 0;
}

void ByteBuffer::Clear() {
    ResetBitWriter();
    SetLength(0);
}

bool ByteBuffer::SetLength(uint32_t newLength) {
    if (frozen || newLength > capacity) return false;
    length = newLength;
    data[length] = 0;
    return true;
}

bool ByteBuffer::Reserve(uint32_t required) {
    if (frozen) return false;
    ++reserveCalls;
    if (required < capacity) return true;
    if (!growable) return false;
    uint32_t newCapacity = required;
    if (!exactNextGrowth) {
        // Growths in quick succession (few reserve calls between them) make the next one larger.
        const uint32_t candidate = growthIncrement * 100 / reserveCalls;
        if (candidate > growthIncrement) growthIncrement = candidate;
        if (growthIncrement > kLargestIncrement) growthIncrement = kLargestIncrement;
        newCapacity =
            required > kLargestCapacity - growthIncrement ? kLargestCapacity : required + growthIncrement;
    }
    Resize(newCapacity, true);
    reserveCalls = 0;
    exactNextGrowth = 0;
    return true;
}

bool ByteBuffer::Resize(uint32_t newCapacity, bool allowShrink) {
    if (newCapacity == capacity || newCapacity < length) return true;
    if (frozen) return false;
    if (newCapacity < capacity) {
        if (!allowShrink) return true;
        ResetGrowthPolicy();
    }
    uint8_t* block = AllocateBlock(newCapacity);
    if (!block) return false;
    memcpy(block, data, length);
    delete[] data;
    data = block;
    capacity = newCapacity;
    data[length] = 0;
    return true;
}

bool ByteBuffer::AppendBytes(const void* bytes, uint32_t count) {
    if (frozen || count > kLargestCapacity - length) return false;
    if (!Reserve(length + count)) return false;
    if (length > capacity || count > capacity - length) return false;
    if (count) memcpy(data + length, bytes, count);
    length += count;
    data[length] = 0;
    return true;
}

bool ByteBuffer::WriteUInt(uint32_t value, uint32_t width) {
    if (frozen || width > kLargestCapacity - length) return false;
    if (!Reserve(length + width)) return false;
    if (length + width > capacity) return false;
    for (uint32_t i = 0; i < width; ++i) {
        data[length + i] = i < sizeof value ? static_cast<uint8_t>(value >> (8 * i)) : 0;
    }
    length += width;
    data[length] = 0;
    return true;
}

void ByteBuffer::AdvanceBitWriter() {
    ++bitByteIndex;
    bitMask = kByteBoundary;
    data[bitByteIndex] = 0;
    bitsInByte = 0;
}

void ByteBuffer::UpdateLengthFromBits() {
    length = bitByteIndex + (bitMask != kByteBoundary ? 1 : 0);
    data[length] = 0;
}

bool ByteBuffer::PutBits(uint32_t value, uint32_t count) {
    if (frozen) return false;
    if (bitMask == kByteBoundary) data[bitByteIndex] = 0;
    const uint32_t lastByte = bitByteIndex + (count + bitsInByte) / 8;
    if (!Reserve(lastByte) || lastByte > capacity) return false;
    for (uint32_t left = count; left > 0; --left) {
        if ((value >> (left - 1)) & 1)
            data[bitByteIndex] = static_cast<uint8_t>(data[bitByteIndex] | bitMask);
        bitMask >>= 1;
        ++bitsInByte;
        if (bitMask == 0) AdvanceBitWriter();
    }
    UpdateLengthFromBits();
    return true;
}

void ByteBuffer::PadToByte(uint32_t fillBit) {
    if (frozen) return;
    if (bitMask != kByteBoundary) {
        for (; bitMask; bitMask >>= 1) {
            const uint32_t byte = data[bitByteIndex];
            data[bitByteIndex] = static_cast<uint8_t>(fillBit ? byte | bitMask : byte & ~bitMask);
        }
        AdvanceBitWriter();
    }
    UpdateLengthFromBits();
}

}  // namespace cam::tiff
