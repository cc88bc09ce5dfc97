// What the Group 4 kernels share: the lists of changing elements, how much a line can take, and the walk over
// the lines.
#pragma once

#include <stdint.h>

#include <memory>
#include <new>
#include <span>
#include <utility>

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

// EncodeG4 by a coder with
//   End()                               past the last byte that is stored for good; null at first
//   GoOnAt(place)                       what follows goes there; place for G4LineBound
//   Scan(line, list)                    writes the positions of a line's changes and returns the place past
//   them;
//                                       it may overwrite eight entries beyond that
//   CodeLine(reference, coding, width)  the lists' first changes; both end as G4LineLists::Terminate makes
//   them EndBlock()                     and whole bytes
template <typename Coder>
bool EncodeG4With(G4Lines& lines, uint32_t width, uint32_t rows, G4Output& output) {
    if (width > kG4MaxWidth || width % 8 != 0) return false;
    G4LineLists lists;
    if (!lists.Create(width)) return false;
    Coder coder;
    const auto goOn = [&] {
        uint8_t* const place = output.GoOn(coder.End(), G4LineBound(width));
        if (place) coder.GoOnAt(place);
        return place != nullptr;
    };
    for (uint32_t row = 0; row < rows; ++row) {
        if (!goOn()) return false;
        const std::span<const uint8_t> line(lines.Next(), width / 8);
        G4LineLists::Terminate(coder.Scan(line, lists.Coding() + 1), width);
        coder.CodeLine(lists.Reference() + 1, lists.Coding() + 1, static_cast<int>(width));
        lists.Swap();
    }
    if (!goOn()) return false;
    coder.EndBlock();
    return output.Finish(coder.End());
}

}  // namespace cam::tiff
