// The mode decisions of Group 4 coding, for the encoders that differ in how they find changes and store codes. Everything has internal
// linkage: code for a wider instruction set must not become the one copy of a shared inline function.

#include <string.h>

#include "tiff/byte_buffer.h"
#include "tiff/g4_code_words.h"
#include "tiff/g4_output.h"

namespace cam::tiff {
namespace {

// Codes one line. `b` is the reference line's first change, `a` the coding line's; both lists end with the width, G4LineLists::kEnds
// times. Throughout, `b` is the first change right of a0 with the opposite colour.
template <typename Sink>
inline void CodeLine(const int16_t* b, const int16_t* a, int width, Sink& sink) {
    int a0 = 0;
    int color = 0;
    for (;;) {
        const int a1 = *a;
        if (b[1] < a1) {
            sink.Put(kPassCode);
            a0 = b[1];
            b += 2;
            continue;
        }
        const auto reach = static_cast<uint32_t>(a1 - *b + kVerticalReach);
        if (reach <= 2 * kVerticalReach) {
            sink.Put(kVerticalCodes[static_cast<int>(reach)]);
            a0 = a1;
            if (a0 == width) return;
            color ^= 1;
            ++a;
            if (reach >= kVerticalReach) {
                ++b;
                if (reach > kVerticalReach) {
                    while (*b <= a0) b += 2;
                }
            } else {
                b += b[-1] > a0 ? -1 : 1;
            }
        } else {
            sink.PutHorizontal(a1 - a0, a[1] - a1, color);
            a0 = a[1];
            if (a0 == width) return;
            a += 2;
            while (*b <= a0) b += 2;
        }
    }
}

template <typename Scanner, typename Sink>
inline bool EncodeG4With(const uint8_t* raster, uint32_t rasterLength, uint32_t width, uint32_t rows,
                         ByteBuffer& output, uint32_t* outLength) {
    if (!IsG4Raster(rasterLength, width, rows)) return false;
    G4LineLists lists;
    if (!lists.Create(width)) return false;
    Sink sink;
    sink.Start(output.Data());
    const uint32_t lineBytes = width / 8;
    for (uint32_t row = 0; row < rows; ++row, raster += lineBytes) {
        if (!EnsureG4Room(output, sink.Bytes(), G4LineBound(width))) return false;
        sink.Move(output.Data());
        int16_t* const coding = lists.Coding();
        int16_t* const end = Scanner::Scan(raster, lineBytes, coding + 1);
        G4LineLists::Terminate(end, width);
        CodeLine(lists.Reference() + 1, coding + 1, static_cast<int>(width), sink);
        lists.Swap();
    }
    if (!EnsureG4Room(output, sink.Bytes(), G4LineBound(width))) return false;
    sink.Move(output.Data());
    sink.Put(kEndOfLineCode);
    sink.Put(kEndOfLineCode);
    sink.End();
    *outLength = sink.Bytes();
    return output.SetLength(*outLength);
}

}  // namespace
}  // namespace cam::tiff
