#include "tiff/tiff_kernels.h"

#include <emmintrin.h>
#include <string.h>

#include "tiff/g4_code_words.h"
#include "tiff/g4_output.h"

namespace cam::tiff {
namespace {

// For every byte, the positions of its ones from the left (what follows them is of no matter), and how many
// there are.
struct OnesTable {
    alignas(16) int16_t positions[256][8];
    uint8_t counts[256];
};

constexpr OnesTable MakeOnesTable() {
    OnesTable table{};
    for (int byte = 0; byte < 256; ++byte) {
        for (int16_t p = 0; p < 8; ++p) {
            if (byte >> (7 - p) & 1) table.positions[byte][table.counts[byte]++] = p;
        }
    }
    return table;
}

constexpr OnesTable kOnes = MakeOnesTable();

uint64_t LoadBigEndian(const uint8_t* bytes) {
    uint64_t word;
    memcpy(&word, bytes, sizeof word);
    return __builtin_bswap64(word);
}

class WordScanner {
  public:
    static int16_t* Scan(std::span<const uint8_t> line, int16_t* list) {
        uint64_t left = 0;  // the last pixel of the word before, as the highest bit
        int position = 0;
        for (; line.size() >= 8; line = line.subspan(8), position += 64) {
            const uint64_t word = LoadBigEndian(line.data());
            list = Take(word ^ (word >> 1 | left), position, list);
            left = word << 63;
        }
        if (line.empty()) return list;
        uint64_t word = 0;
        for (size_t i = 0; i < line.size(); ++i) word |= uint64_t{line[i]} << (56 - 8 * i);
        const uint64_t beyond = ~uint64_t{0} >> (8 * line.size());
        return Take((word ^ (word >> 1 | left)) & ~beyond, position, list);
    }

  private:
    static int16_t* Take(uint64_t changes, int position, int16_t* list) {
        if (!changes) return list;
        __m128i base = _mm_set1_epi16(static_cast<int16_t>(position));
#pragma GCC unroll 8
        for (int shift = 56; shift >= 0; shift -= 8) {
            const uint64_t byte = changes >> shift & 0xFF;
            const __m128i positions = _mm_load_si128(reinterpret_cast<const __m128i*>(kOnes.positions[byte]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(list), _mm_add_epi16(positions, base));
            list += kOnes.counts[byte];
            base = _mm_add_epi16(base, _mm_set1_epi16(8));
        }
        return list;
    }
};

// Code words from the highest bit on, with their length in the lowest byte.
using LeftCode = uint64_t;

constexpr LeftCode ToLeftCode(uint64_t bits, uint32_t length) {
    return bits << (64 - length) | length;
}

constexpr uint64_t Bits(LeftCode code) {
    return code & ~uint64_t{0xFF};
}

constexpr uint32_t Length(LeftCode code) {
    return static_cast<uint8_t>(code);
}

// By run length and colour: make-up and terminating code in one.
struct RunTable {
    static constexpr int kRuns = kLongestMakeUp + kMakeUpStep;
    LeftCode codes[kRuns][2];
};

constexpr RunTable MakeRunTable() {
    RunTable table{};
    for (int color = 0; color < 2; ++color) {
        for (int run = 0; run < RunTable::kRuns; ++run) {
            const CodeWord end = (color ? kBlackTerminating : kWhiteTerminating)[run % kMakeUpStep];
            CodeWord makeUp = {0, 0};
            if (run >= kMakeUpStep) makeUp = (color ? kBlackMakeUp : kWhiteMakeUp)[run / kMakeUpStep - 1];
            table.codes[run][color] = ToLeftCode(uint64_t{makeUp.bits} << end.length | end.bits,
                                                 uint32_t{makeUp.length} + end.length);
        }
    }
    return table;
}

constexpr RunTable kRuns = MakeRunTable();

// Pass mode; then vertical mode by a1 - b1 + 3.
struct ModeTable {
    static constexpr int kVertical = 2 * kVerticalReach + 1;
    LeftCode codes[1 + kVertical];
};

constexpr ModeTable MakeModeTable() {
    ModeTable table{{ToLeftCode(kPassCode.bits, kPassCode.length)}};
    for (int i = 0; i < ModeTable::kVertical; ++i)
        table.codes[1 + i] = ToLeftCode(kVerticalCodes[i].bits, kVerticalCodes[i].length);
    return table;
}

constexpr ModeTable kModes = MakeModeTable();

// Stores codes without a branch: eight bytes each time, of which the next code overwrites those not yet full.
class BitSink {
  public:
    uint8_t* End() const { return out; }
    void GoOnAt(uint8_t* place) { out = place; }

    // `bits` from the highest on, up to 57 of them, and zeros below.
    void Put(uint64_t bits, uint32_t length) {
        pending |= bits >> count;
        count += length;
        const uint64_t whole = __builtin_bswap64(pending);
        memcpy(out, &whole, sizeof whole);
        out += count / 8;
        pending <<= count & ~7u;
        count %= 8;
    }
    void Put(LeftCode code) { Put(Bits(code), Length(code)); }
    void Put(CodeWord code) { Put(ToLeftCode(code.bits, code.length)); }

    void EndByte() {
        if (count) ++out;
        count = 0;
    }

  private:
    uint8_t* out = nullptr;
    uint64_t pending = 0;  // the highest count bits are still to be stored for good
    uint32_t count = 0;    // below 8 between two codes
};

class BranchlessCoder : public WordScanner {
  public:
    uint8_t* End() const { return sink.End(); }
    void GoOnAt(uint8_t* place) { sink.GoOnAt(place); }

    // Which mode comes next is as good as random to the processor, so pass and vertical mode, five codes of
    // six or more, are one sequence of arithmetic. Throughout, `b` is the first change of the reference line
    // right of a0 with the opposite colour, `a` is a1.
    void CodeLine(const int16_t* b, const int16_t* a, int64_t width) {
        BitSink codes = sink;  // in registers: stores to the output cannot touch it
        const int16_t* const first = a;
        int64_t a0 = 0;
        do {
            const int64_t a1 = a[0], b1 = b[0], b2 = b[1];
            const int64_t pass = (b2 - a1) >> 63;  // -1 when b2 lies left of a1, else 0
            const int64_t reach = a1 - b1 + kVerticalReach;
            if (static_cast<uint64_t>(reach & ~pass) < ModeTable::kVertical) {
                const LeftCode code = kModes.codes[1 + (reach | pass)];
                // After pass mode, two changes on. After vertical mode, the next change, unless a0 has just
                // met it (then that after the next) or the one before b1 still lies right of a0.
                b += 1 - pass + 2 * (static_cast<int64_t>(b2 == a1) - static_cast<int64_t>(b[-1] > a1));
                a += 1 + pass;
                a0 = b2 < a1 ? b2 : a1;
                codes.Put(code);
            } else {
                const int64_t a2 = a[1];
                PutHorizontal(codes, a1 - a0, a2 - a1, (a - first) & 1);
                a0 = a2;
                a += 2;
                if (a0 == width) break;
                while (*b <= a0) b += 2;
            }
        } while (a0 != width);
        sink = codes;
    }

    void EndBlock() {
        sink.Put(kEndOfLineCode);
        sink.Put(kEndOfLineCode);
        sink.EndByte();
    }

  private:
    // Horizontal mode's code and both runs' at once: 45 bits at most.
    static void PutHorizontal(BitSink& codes, int64_t first, int64_t second, int64_t color) {
        if (first + second >= RunTable::kRuns) [[unlikely]] {
            codes.Put(kHorizontalCode);
            PutLongRun(codes, first, color);
            PutLongRun(codes, second, color ^ 1);
            return;
        }
        constexpr LeftCode kMode = ToLeftCode(kHorizontalCode.bits, kHorizontalCode.length);
        const LeftCode a = kRuns.codes[first][color], b = kRuns.codes[second][color ^ 1];
        codes.Put(Bits(kMode) | Bits(a) >> Length(kMode) | Bits(b) >> (Length(kMode) + Length(a)),
                  Length(kMode) + Length(a) + Length(b));
    }

    static void PutLongRun(BitSink& codes, int64_t length, int64_t color) {
        for (; length >= kLongestMakeUp; length -= kLongestMakeUp) codes.Put(kWhiteMakeUp[kMakeUpCodes - 1]);
        codes.Put(kRuns.codes[length][color]);
    }

    BitSink sink;
};

}  // namespace

bool EncodeG4Sse2(G4Lines& lines, uint32_t width, uint32_t rows, G4Output& output) {
    return EncodeG4With<BranchlessCoder>(lines, width, rows, output);
}

}  // namespace cam::tiff
