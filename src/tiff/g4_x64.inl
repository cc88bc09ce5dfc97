// The Group 4 encoder for 64-bit x86, for the instruction set that the including file is compiled for.

#include <emmintrin.h>

#include "tiff/encode_g4_ways.h"
#include "tiff/g4_code_words.h"
#include "tiff/g4_coder.inl"
#include "tiff/g4_output.h"

namespace cam::tiff {
namespace {

// For every byte, the positions of its ones from the left (what follows them is of no matter), and how many there are.
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

// Writes the positions of the changes in a line and returns the place behind them. Up to eight entries behind that are overwritten.
class WordScanner {
  public:
    static int16_t* Scan(const uint8_t* line, uint32_t bytes, int16_t* list) {
        uint64_t left = 0;  // the last pixel of the word before, as the highest bit
        int position = 0;
        for (; bytes >= 8; bytes -= 8, line += 8, position += 64) {
            const uint64_t word = LoadBigEndian(line);
            list = Take(word ^ (word >> 1 | left), position, list);
            left = word << 63;
        }
        if (bytes == 0) return list;
        uint64_t word = 0;
        for (uint32_t i = 0; i < bytes; ++i) word |= uint64_t{line[i]} << (56 - 8 * i);
        const uint64_t behind = ~uint64_t{0} >> (8 * bytes);
        return Take((word ^ (word >> 1 | left)) & ~behind, position, list);
    }

  private:
    static int16_t* Take(uint64_t changes, int position, int16_t* list) {
        if (!changes) return list;
        __m128i base = _mm_set1_epi16(static_cast<int16_t>(position));
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

// Make-up and terminating code of a run in one: the code's bits above its length in the lowest five.
struct RunTable {
    static constexpr int kRuns = kLongestMakeUp + kMakeUpStep;
    uint32_t codes[2][kRuns];
};

constexpr RunTable MakeRunTable() {
    RunTable table{};
    for (int color = 0; color < 2; ++color) {
        for (int run = 0; run < RunTable::kRuns; ++run) {
            const CodeWord end = (color ? kBlackTerminating : kWhiteTerminating)[run % kMakeUpStep];
            CodeWord makeUp = {0, 0};
            if (run >= kMakeUpStep) makeUp = (color ? kBlackMakeUp : kWhiteMakeUp)[run / kMakeUpStep - 1];
            const uint32_t bits = uint32_t{makeUp.bits} << end.length | end.bits;
            table.codes[color][run] = bits << 5 | static_cast<uint32_t>(makeUp.length + end.length);
        }
    }
    return table;
}

constexpr RunTable kRuns = MakeRunTable();

class LongSink {
  public:
    void Start(uint8_t* output) { begin_ = out_ = output; }
    void Move(uint8_t* output) {
        out_ = output + (out_ - begin_);
        begin_ = output;
    }
    uint32_t Bytes() const { return static_cast<uint32_t>(out_ - begin_); }

    // Up to 32 bits.
    void Put(uint64_t bits, uint32_t length) {
        pending_ = pending_ << length | bits;
        count_ += length;
        if (count_ >= 32) {
            count_ -= 32;
            const uint32_t whole = __builtin_bswap32(static_cast<uint32_t>(pending_ >> count_));
            memcpy(out_, &whole, sizeof whole);
            out_ += sizeof whole;
        }
    }
    void Put(CodeWord code) { Put(code.bits, code.length); }

    void PutHorizontal(int first, int second, int color) {
        PutRun(first, color, kHorizontalCode);
        PutRun(second, color ^ 1, {0, 0});
    }

    void End() {
        for (; count_ >= 8; count_ -= 8) *out_++ = static_cast<uint8_t>(pending_ >> (count_ - 8));
        if (count_) *out_++ = static_cast<uint8_t>(pending_ << (8 - count_));
        count_ = 0;
    }

  private:
    void PutRun(int length, int color, CodeWord prefix) {
        if (length >= RunTable::kRuns) [[unlikely]] {
            Put(prefix);
            prefix = {0, 0};
            for (; length >= kLongestMakeUp; length -= kLongestMakeUp) Put(kWhiteMakeUp[kMakeUpCodes - 1]);
        }
        const uint32_t code = kRuns.codes[color][length];
        const uint32_t codeLength = code & 31;
        Put(uint64_t{prefix.bits} << codeLength | code >> 5, codeLength + prefix.length);
    }

    uint8_t* begin_ = nullptr;
    uint8_t* out_ = nullptr;
    uint64_t pending_ = 0;  // the lowest count_ bits are still to be stored
    uint32_t count_ = 0;    // below 32 between two codes
};

}  // namespace
}  // namespace cam::tiff
