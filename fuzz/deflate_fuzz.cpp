// Any input, repeated so that blocks and the window fill up, in pieces of any size: zlib finds it again.
#include <stdlib.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "still/encoders/deflate.h"

using namespace cam::still;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Two bytes: how far apart repetitions are expected; one: the pieces; one: how often the rest is there,
    // with a byte changed each time.
    if (size < 5) return 0;
    const size_t piece = 1 + data[2] * size_t{40};
    std::vector<uint8_t> input;
    for (unsigned i = 0; i <= data[3]; ++i) {
        input.insert(input.end(), data + 4, data + size);
        input.back() = static_cast<uint8_t>(input.back() + i);
    }
    std::vector<uint8_t> stream;
    const auto deflate = std::make_unique<Deflate>(
        deflate::Output{[](void* to, const uint8_t* bytes, size_t count) {
                            static_cast<std::vector<uint8_t>*>(to)->insert(
                                static_cast<std::vector<uint8_t>*>(to)->end(), bytes, bytes + count);
                        },
                        &stream},
        data[0] | size_t{data[1]} << 8);
    for (size_t done = 0; done < input.size();) {
        const auto room = deflate->Room();
        const size_t part = std::min({piece, room.size(), input.size() - done});
        std::copy_n(input.data() + done, part, room.data());
        deflate->ExpectRepeat(done / 4096 % 2 == 0);
        deflate->Add(part);
        done += part;
    }
    deflate->Finish(static_cast<uint32_t>(adler32(1, input.data(), static_cast<uInt>(input.size()))));
    std::vector<uint8_t> found(input.size());
    uLongf length = static_cast<uLongf>(found.size());
    if (uncompress(found.data(), &length, stream.data(), static_cast<uLong>(stream.size())) != Z_OK) abort();
    if (length != input.size() || found != input) abort();
    return 0;
}
