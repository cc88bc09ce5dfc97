// What the Group 4 kernels share: the lists of changing elements, the bounded output area, and for the fast
// ones the walk over the rows.
#pragma once

#include <stdint.h>

#include <memory>
#include <new>
#include <span>
#include <utility>

#include "tiff/byte_buffer.h"
#include "tiff/encode_g4.h"

namespace cam::tiff {

// The changing elements of a line: entry 0 is -1, for the position before the line; then the positions,
// increasing, of the pixels whose colour differs from the one to their left (white before position 0), so
// that odd entries start black runs; then the width, three times.
class G4LineLists {
  public:
    static constexpr int kEnds = 3;
    static constexpr uint32_t kSpareEntries = 25;

    // The reference list becomes that of a white line. False when there is no memory.
    bool Create(uint32_t width) {
        reference.reset(new (std::nothrow) int16_t[width + kSpareEntries]);
        coding.reset(new (std::nothrow) int16_t[width + kSpareEntries]);
        if (!reference || !coding) return false;
        coding[0] = -1;
        reference[0] = -1;
        Terminate(reference.get() + 1, width);
        return true;
    }

    // Puts the end of the line at `end`, after the last change.
    static void Terminate(int16_t* end, uint32_t width) {
        for (int i = 0; i < kEnds; ++i) end[i] = static_cast<int16_t>(width);
    }

    int16_t* Reference() const { return reference.get(); }
    int16_t* Coding() const { return coding.get(); }
    void Swap() { std::swap(reference, coding); }

  private:
    std::unique_ptr<int16_t[]> reference;
    std::unique_ptr<int16_t[]> coding;
};

// No code takes more than seven bits for each pixel that it moves forward, save a first white run of no
// pixels and a last run of none; the end of the block and the encoder's whole-word stores have room besides.
constexpr uint32_t G4LineBound(uint32_t width) {
    return width + 32;
}

// Whether a raster of these measures is in the encoder's range and complete.
inline bool IsG4Raster(std::span<const uint8_t> raster, uint32_t width, uint32_t rows) {
    return width <= kG4MaxWidth && width % 8 == 0 && uint64_t{width / 8} * rows <= raster.size();
}

// Sees to it that `room` bytes follow the first `used` ones of the data area, which are kept.
inline bool EnsureG4Room(ByteBuffer& output, uint32_t used, uint32_t room) {
    if (output.Capacity() - used >= room) return true;
    const uint64_t wanted = uint64_t{output.Capacity()} + output.Capacity() / 2 + room;
    if (!output.IsGrowable() || wanted > UINT32_MAX - 2 || !output.SetLength(used)) return false;
    output.Resize(static_cast<uint32_t>(wanted), false);
    return output.Capacity() - used >= room;
}

// EncodeG4 by a coder with
//   Start(output), Move(output)         where the data begin, at first and after the area has grown
//   Bytes()                             how many whole bytes are stored
//   Scan(line, list)                    writes the positions of a line's changes and returns the place past
//   them;
//                                       it may overwrite eight entries beyond that
//   CodeLine(reference, coding, width)  the lists' first changes; both end as G4LineLists::Terminate makes
//   them EndBlock()
template <typename Coder>
bool EncodeG4Lines(std::span<const uint8_t> raster, uint32_t width, uint32_t rows, ByteBuffer& output) {
    if (!IsG4Raster(raster, width, rows)) return false;
    G4LineLists lists;
    if (!lists.Create(width)) return false;
    Coder coder;
    coder.Start(output.Data());
    const uint32_t lineBytes = width / 8;
    for (uint32_t row = 0; row < rows; ++row) {
        if (!EnsureG4Room(output, coder.Bytes(), G4LineBound(width))) return false;
        coder.Move(output.Data());
        const auto line = raster.subspan(size_t{row} * lineBytes, lineBytes);
        G4LineLists::Terminate(coder.Scan(line, lists.Coding() + 1), width);
        coder.CodeLine(lists.Reference() + 1, lists.Coding() + 1, static_cast<int>(width));
        lists.Swap();
    }
    if (!EnsureG4Room(output, coder.Bytes(), G4LineBound(width))) return false;
    coder.Move(output.Data());
    coder.EndBlock();
    return output.SetLength(coder.Bytes());
}

}  // namespace cam::tiff
