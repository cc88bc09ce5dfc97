// What the compressor makes is judged by zlib: it must find the input again, and its own streams say what
// size is fair.
#include "still/encoders/deflate.h"

#include <doctest/doctest.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "still/encoders/deflate_code.h"

using namespace cam::still;

namespace {

using Bytes = std::vector<std::uint8_t>;

// In pieces of at most `most` bytes.
Bytes Compressed(const Bytes& input, std::size_t most, std::size_t repeat = 0) {
    Bytes output;
    const auto deflate = std::make_unique<Deflate>(
        deflate::Output{[](void* to, const std::uint8_t* bytes, std::size_t count) {
                            static_cast<Bytes*>(to)->insert(static_cast<Bytes*>(to)->end(), bytes,
                                                            bytes + count);
                        },
                        &output},
        repeat);
    for (std::size_t done = 0; done < input.size();) {
        const auto room = deflate->Room();
        CHECK(room.size() >= Deflate::kMinRoom);
        const std::size_t part = std::min({most, room.size(), input.size() - done});
        std::copy_n(input.begin() + static_cast<std::ptrdiff_t>(done), part, room.begin());
        deflate->Add(part);
        done += part;
    }
    deflate->Finish(static_cast<std::uint32_t>(adler32(1, input.data(), static_cast<uInt>(input.size()))));
    return output;
}

Bytes Inflated(const Bytes& stream, std::size_t size) {
    Bytes bytes(size + 1);
    uLongf length = static_cast<uLongf>(bytes.size());
    uLong taken = static_cast<uLong>(stream.size());
    REQUIRE(uncompress2(bytes.data(), &length, stream.data(), &taken) == Z_OK);
    CHECK(taken == stream.size());
    bytes.resize(length);
    return bytes;
}

std::size_t ZlibSize(const Bytes& input, int level, int strategy) {
    z_stream zlib{};
    REQUIRE(deflateInit2(&zlib, level, Z_DEFLATED, 15, 8, strategy) == Z_OK);
    Bytes output(deflateBound(&zlib, static_cast<uLong>(input.size())));
    zlib.next_in = const_cast<Bytef*>(input.data());
    zlib.avail_in = static_cast<uInt>(input.size());
    zlib.next_out = output.data();
    zlib.avail_out = static_cast<uInt>(output.size());
    REQUIRE(::deflate(&zlib, Z_FINISH) == Z_STREAM_END);
    deflateEnd(&zlib);
    return zlib.total_out;
}

// Each byte half as frequent as the one before: codes get longer than the format allows.
Bytes Skewed(std::size_t size, std::minstd_rand& random) {
    Bytes bytes(size);
    for (auto& byte : bytes) {
        byte = 0;
        while (random() % 2 && byte < 40) ++byte;
    }
    return bytes;
}

Bytes Noise(std::size_t size, std::minstd_rand& random) {
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

Bytes Repeated(const Bytes& part, std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = part[i % part.size()];
    return bytes;
}

}  // namespace

TEST_CASE("zlib finds the input again, in streams of a fair size") {
    std::minstd_rand random(1);
    Bytes rows = Repeated(Noise(5000, random), 200000);
    for (std::size_t i = 0; i < rows.size(); i += 1000 + random() % 500) rows[i] ^= 1;
    struct {
        const char* name;
        Bytes input;
        std::size_t repeat;
        double ofHuffmanOnly;  // largest share of what zlib makes without matches; 0: not asked
        double ofFast;         // and of what it makes at its fastest
    } const cases[] = {
        {"nothing", {}, 0, 0, 0},
        {"a byte", {7}, 0, 0, 0},
        {"a match to the very end", Repeated({1, 2, 3}, 3 + 258), 0, 0, 0},
        {"zeros", Bytes(1000000, 0), 0, 0, 0.6},
        {"noise", Noise(300000, random), 0, 1.02, 0},
        {"skewed noise", Skewed(300000, random), 0, 1.03, 0},
        {"few bytes over and over", Repeated({9, 8, 7, 6, 5}, 100000), 0, 0, 0.8},
        {"rows of noise, nearly the same", rows, 5000, 0.05, 0.5},
        {"repeated as far back as the window reaches", Repeated(Noise(16000, random), 150000), 16000, 0.2, 0},
        {"repeated further back", Repeated(Noise(40000, random), 150000), 40000, 1.02, 0},
    };
    for (const auto& c : cases) {
        CAPTURE(std::string(c.name));
        for (const std::size_t most : {std::size_t{100000}, std::size_t{777}}) {
            const Bytes stream = Compressed(c.input, most, c.repeat);
            CHECK(Inflated(stream, c.input.size()) == c.input);
            const auto size = static_cast<double>(stream.size());
            if (c.ofHuffmanOnly > 0)
                CHECK(size <= c.ofHuffmanOnly * static_cast<double>(ZlibSize(c.input, 6, Z_HUFFMAN_ONLY)));
            if (c.ofFast > 0)
                CHECK(size <= c.ofFast * static_cast<double>(ZlibSize(c.input, 1, Z_DEFAULT_STRATEGY)));
        }
    }
}

TEST_CASE("any mixture comes back") {
    for (unsigned seed = 1; seed <= 150; ++seed) {
        CAPTURE(seed);
        std::minstd_rand random(seed);
        Bytes input;
        const std::size_t size = random() % (seed % 10 ? 3000 : 120000);
        while (input.size() < size) {
            const std::size_t count = 1 + random() % 600;
            const Bytes part =
                random() % 2 ? Skewed(count, random) : Bytes(count, static_cast<std::uint8_t>(random()));
            input.insert(input.end(), part.begin(), part.end());
            const std::size_t back = 1 + random() % input.size();
            for (std::size_t i = random() % 400; i > 0; --i) input.push_back(input[input.size() - back]);
        }
        CHECK(Inflated(Compressed(input, 1 + random() % 5000, random() % 2000), input.size()) == input);
    }
}

TEST_CASE("codes are complete, no longer than allowed, and the shortest there are") {
    using deflate::Code;
    struct {
        std::vector<std::uint32_t> counts;
        unsigned maxLength;
        std::uint32_t bits;  // of all symbols as often as they occur
    } const cases[] = {
        {{0, 0, 0}, 15, 0},
        {{0, 5, 0}, 15, 5},
        {{1, 1, 1, 1}, 15, 8},
        {{8, 4, 2, 1, 1}, 15, 8 + 8 + 6 + 4 + 4},
        {{8, 4, 2, 1, 1}, 3, 8 + 12 + 6 + 3 + 3},
        {{1, 2, 4, 8, 16, 32, 64, 128}, 7, 501},
    };
    for (const auto& c : cases) {
        std::vector<Code> codes(c.counts.size());
        deflate::MakeCodes(c.counts, c.maxLength, codes);
        std::uint32_t taken = 0, bits = 0;
        for (std::size_t i = 0; i < codes.size(); ++i) {
            CHECK(codes[i].length <= c.maxLength);
            if (c.counts[i]) CHECK(codes[i].length > 0);
            if (codes[i].length) taken += 1u << (c.maxLength - codes[i].length);
            bits += c.counts[i] * codes[i].length;
        }
        CHECK(taken == 1u << c.maxLength);
        CHECK(bits == c.bits);
    }
}
