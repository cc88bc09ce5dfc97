#include "tiff/tiff_kernels.h"

#include "tiff/g4_code_words.h"
#include "tiff/g4_output.h"

namespace cam::tiff {
namespace {

// For every byte the bit positions, from the left, at which a bit differs from the one to its left (0 before
// the first); then -1.
struct ChangeTable {
    int8_t positions[256][9];
};

constexpr ChangeTable MakeChangeTable() {
    ChangeTable table{};
    for (int byte = 0; byte < 256; ++byte) {
        int count = 0;
        int left = 0;
        for (int8_t p = 0; p < 8; ++p) {
            const int bit = byte >> (7 - p) & 1;
            if (bit != left) table.positions[byte][count++] = p;
            left = bit;
        }
        table.positions[byte][count] = -1;
    }
    return table;
}

constexpr ChangeTable kChanges = MakeChangeTable();

// State of the line that is being scanned.
struct G4LineState {
    int16_t* list;              // of changes, past the last entry written
    uint8_t previousColor = 0;  // of the last pixel before the next byte, in all eight bits
    int16_t position = 0;       // of the next byte's first pixel

    void Scan(uint8_t byte) {
        const int8_t* change = kChanges.positions[byte ^ previousColor];
        for (; *change >= 0; ++change) *list++ = static_cast<int16_t>(position + *change);
        position = static_cast<int16_t>(position + 8);
        previousColor = byte & 1 ? 0xFF : 0x00;
    }
};

class PlainCoder {
  public:
    // A partly written byte is taken along to where it goes on.
    uint8_t* End() {
        begun = bitIndex ? *output : 0;
        return output;
    }
    void GoOnAt(uint8_t* place) {
        output = place;
        if (bitIndex) *output = begun;
    }

    static int16_t* Scan(std::span<const uint8_t> bytes, int16_t* list) {
        G4LineState line = {list};
        for (const uint8_t byte : bytes) line.Scan(byte);
        return line.list;
    }

    // The lists' first changes, entry 1 of each.
    void CodeLine(const int16_t* firstReference, const int16_t* firstCoding, int width) {
        const int16_t* const reference = firstReference - 1;
        const int16_t* const coding = firstCoding - 1;
        int a0 = -1;
        int color = 0;
        int a1 = 1;
        int b1 = 1;
        while (reference[b1] < width && (reference[b1] <= a0 || b1 % 2 == color)) ++b1;
        do {
            const int distance = coding[a1] - reference[b1];
            if (reference[b1 + 1] < coding[a1]) {
                Emit(kPassCode);
                a0 = reference[b1 + 1];
                b1 += 2;
            } else if (distance >= -kVerticalReach && distance <= kVerticalReach) {
                a0 = coding[a1++];
                color ^= 1;
                Emit(kVerticalCodes[distance + kVerticalReach]);
                b1 = MoveReference(reference, b1, a0, distance, width);
            } else {
                const int a2 = a1 + 1;
                Emit(kHorizontalCode);
                EmitRun(coding[a1] - (a0 < 0 ? 0 : a0), color);
                EmitRun(coding[a2] - coding[a1], color ^ 1);
                a0 = coding[a2];
                a1 = a2 + 1;
                while (reference[b1] <= a0 && reference[b1] < width) b1 += 2;
            }
        } while (a0 < width);
    }

    void EndBlock() {
        Emit(kEndOfLineCode);
        Emit(kEndOfLineCode);
        if (bitIndex == 0) return;
        *output = static_cast<uint8_t>(*output & ~(0xFF >> bitIndex));
        ++output;
        bitIndex = 0;
    }

  private:
    // The first change right of a0 with the opposite colour, after vertical mode. Positions strictly
    // increase, so that a few steps are enough.
    static int MoveReference(const int16_t* reference, int b1, int a0, int distance, int width) {
        if (distance < -1) {
            if (reference[b1 - 1] > a0) return b1 - 1;
            return reference[b1] == width ? b1 : b1 + 1;
        }
        if (distance < 1) return reference[b1] == width ? b1 : b1 + 1;
        ++b1;
        if (distance < kVerticalReach) return reference[b1] <= a0 && reference[b1] != width ? b1 + 2 : b1;
        while (reference[b1] <= a0 && reference[b1] != width) b1 += 2;
        return b1;
    }

    void EmitRun(int length, int color) {
        for (; length >= kLongestMakeUp; length -= kLongestMakeUp) Emit(kWhiteMakeUp[kMakeUpCodes - 1]);
        if (length >= kMakeUpStep) {
            const int index = length / kMakeUpStep - 1;
            Emit(color ? kBlackMakeUp[index] : kWhiteMakeUp[index]);
        }
        const int rest = length % kMakeUpStep;
        Emit(color ? kBlackTerminating[rest] : kWhiteTerminating[rest]);
    }

    void Emit(CodeWord code) {
        for (int bit = code.length - 1; bit >= 0; --bit) {
            const int mask = 0x80 >> bitIndex;
            const int byte = *output;
            *output = static_cast<uint8_t>(code.bits >> bit & 1 ? byte | mask : byte & ~mask);
            if (++bitIndex == 8) {
                bitIndex = 0;
                ++output;
            }
        }
    }

    uint8_t* output = nullptr;  // the byte that is being written
    int bitIndex = 0;
    uint8_t begun = 0;
};

}  // namespace

bool EncodeG4Plain(G4Lines& lines, uint32_t width, uint32_t rows, G4Output& output) {
    return EncodeG4With<PlainCoder>(lines, width, rows, output);
}

}  // namespace cam::tiff
