#include "tiff/tiff_kernels.h"
#include "tiff/g4_code_words.h"
#include "tiff/g4_output.h"

namespace cam::tiff {
namespace {

// For every byte, in four bits each from the lowest on: 1 + the position, from the left, of each bit that
// differs from the one to its left (0 before the first).
struct ChangeTable {
    uint32_t packed[256];
};

constexpr ChangeTable MakeChangeTable() {
    ChangeTable table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        const uint32_t changes = byte ^ (byte >> 1);
        int shift = 0;
        for (uint32_t p = 0; p < 8; ++p) {
            if (!(changes >> (7 - p) & 1)) continue;
            table.packed[byte] |= (p + 1) << shift;
            shift += 4;
        }
    }
    return table;
}

constexpr ChangeTable kChanges = MakeChangeTable();

class ByteScanner {
  public:
    static int16_t* Scan(std::span<const uint8_t> bytes, int16_t* start) {
        ByteScanner scanner(start);
        const uint8_t* line = bytes.data();
        const uint8_t* const end = line + bytes.size();
        while (line != end && reinterpret_cast<uintptr_t>(line) % sizeof(uint32_t) != 0)
            scanner.Take(*line++);
        for (; end - line >= static_cast<ptrdiff_t>(sizeof(uint32_t)); line += sizeof(uint32_t)) {
            if (*reinterpret_cast<const AliasedWord*>(line) == scanner.color) {
                scanner.position += 32;
                continue;
            }
            for (uint32_t i = 0; i < sizeof(uint32_t); ++i) scanner.Take(line[i]);
        }
        while (line != end) scanner.Take(*line++);
        return scanner.list;
    }

  private:
    using AliasedWord __attribute__((may_alias)) = uint32_t;

    explicit ByteScanner(int16_t* start) : list(start) {}

    void Take(uint32_t byte) {
        uint32_t packed = kChanges.packed[byte ^ (color & 0xFF)];
        if (packed) {
            do {
                *list++ = static_cast<int16_t>(position + static_cast<int>(packed & 15));
                packed >>= 4;
            } while (packed);
            color = 0u - (byte & 1);
        }
        position += 8;
    }

    int16_t* list;
    uint32_t color = 0;  // of the last pixel, in all bits
    int position = -1;   // one less than that of the next byte's first pixel
};

class WordCoder {
  public:
    static int16_t* Scan(std::span<const uint8_t> line, int16_t* list) {
        return ByteScanner::Scan(line, list);
    }

    uint8_t* End() const { return out; }
    void GoOnAt(uint8_t* place) { out = place; }

    // Throughout, `b` is the first change of the reference line right of a0 with the opposite colour, `a` is
    // a1.
    void CodeLine(const int16_t* b, const int16_t* a, int width) {
        int a0 = 0;
        int color = 0;
        for (;;) {
            const int a1 = *a;
            if (b[1] < a1) {
                Put(kPassCode);
                a0 = b[1];
                b += 2;
                continue;
            }
            const auto reach = static_cast<uint32_t>(a1 - *b + kVerticalReach);
            if (reach <= 2 * kVerticalReach) {
                Put(kVerticalCodes[static_cast<int>(reach)]);
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
                PutHorizontal(a1 - a0, a[1] - a1, color);
                a0 = a[1];
                if (a0 == width) return;
                a += 2;
                while (*b <= a0) b += 2;
            }
        }
    }

    void EndBlock() {
        Put(kEndOfLineCode);
        Put(kEndOfLineCode);
        for (; count >= 8; count -= 8) *out++ = static_cast<uint8_t>(pending >> (count - 8));
        if (count) *out++ = static_cast<uint8_t>(pending << (8 - count));
        count = 0;
    }

  private:
    void Put(uint32_t bits, uint32_t length) {
        pending = pending << length | bits;
        count += length;
        if (count >= 16) {
            count -= 16;
            const uint32_t whole = pending >> count;
            out[0] = static_cast<uint8_t>(whole >> 8);
            out[1] = static_cast<uint8_t>(whole);
            out += 2;
        }
    }
    void Put(CodeWord code) { Put(code.bits, code.length); }

    void PutHorizontal(int first, int second, int color) {
        Put(kHorizontalCode);
        PutRun(first, color);
        PutRun(second, color ^ 1);
    }

    void PutRun(int length, int color) {
        if (length >= kMakeUpStep) {
            for (; length >= kLongestMakeUp; length -= kLongestMakeUp) Put(kWhiteMakeUp[kMakeUpCodes - 1]);
            if (length >= kMakeUpStep) Put((color ? kBlackMakeUp : kWhiteMakeUp)[length / kMakeUpStep - 1]);
            length %= kMakeUpStep;
        }
        Put((color ? kBlackTerminating : kWhiteTerminating)[length]);
    }

    uint8_t* out = nullptr;
    uint32_t pending = 0;  // the lowest count bits are still to be stored
    uint32_t count = 0;    // below 16 between two codes
};

}  // namespace

bool EncodeG4Word(G4Lines& lines, uint32_t width, uint32_t rows, G4Output& output) {
    return EncodeG4With<WordCoder>(lines, width, rows, output);
}

}  // namespace cam::tiff
