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
    uint8_t previousColor = 0;  // of the last pixel before the next byte, in all eight bits
    int16_t changeCount = 0;    // index of the last entry written
    uint16_t width = 0;
    int16_t position = 0;  // of the next byte's first pixel
    G4LineLists lists;

    void Scan(uint8_t byte) {
        const int8_t* change = kChanges.positions[byte ^ previousColor];
        for (; *change >= 0; ++change)
            lists.Coding()[++changeCount] = static_cast<int16_t>(position + *change);
        position = static_cast<int16_t>(position + 8);
        previousColor = byte & 1 ? 0xFF : 0x00;
    }
};

class PlainCoder {
  public:
    explicit PlainCoder(uint8_t* area) : output(area) {}

    // Bytes in use, a partly written one included.
    uint32_t Bytes() const { return byteIndex + (bitIndex ? 1 : 0); }
    void MoveTo(uint8_t* area) { output = area; }

    void CodeLine(const int16_t* reference, const int16_t* coding, int width) {
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
        output[byteIndex] = static_cast<uint8_t>(output[byteIndex] & ~(0xFF >> bitIndex));
        ++byteIndex;
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
            const int byte = output[byteIndex];
            output[byteIndex] = static_cast<uint8_t>(code.bits >> bit & 1 ? byte | mask : byte & ~mask);
            if (++bitIndex == 8) {
                bitIndex = 0;
                ++byteIndex;
            }
        }
    }

    uint8_t* output;
    uint32_t byteIndex = 0;
    int bitIndex = 0;
};

}  // namespace

bool EncodeG4Plain(std::span<const uint8_t> raster, uint32_t width, uint32_t rows, ByteBuffer& output) {
    if (!IsG4Raster(raster, width, rows)) return false;
    G4LineState line;
    if (!line.lists.Create(width)) return false;
    line.width = static_cast<uint16_t>(width);

    PlainCoder coder(output.Data());
    const uint32_t lineBytes = width / 8;
    for (uint32_t row = 0; row < rows; ++row) {
        if (!EnsureG4Room(output, coder.Bytes(), G4LineBound(width))) return false;
        coder.MoveTo(output.Data());
        for (const uint8_t byte : raster.subspan(size_t{row} * lineBytes, lineBytes)) line.Scan(byte);
        G4LineLists::Terminate(line.lists.Coding() + line.changeCount + 1, width);
        coder.CodeLine(line.lists.Reference(), line.lists.Coding(), static_cast<int>(width));
        line.lists.Swap();
        line.previousColor = 0;
        line.changeCount = 0;
        line.position = 0;
    }
    if (!EnsureG4Room(output, coder.Bytes(), G4LineBound(width))) return false;
    coder.MoveTo(output.Data());
    coder.EndBlock();
    return output.SetLength(coder.Bytes());
}

}  // namespace cam::tiff
