// Takes an encoder's bytes into memory that is there already.
#pragma once

#include <cstring>

#include "pixel_frames.h"
#include "still/encoders/byte_sink.h"

namespace cam::bench {

class MemorySink final : public still::ByteSink {
  public:
    explicit MemorySink(Bytes& target) : out(target) {}
    bool Write(std::span<const std::uint8_t> bytes) override {
        if (bytes.size() > out.size() - used) return false;
        std::memcpy(out.data() + used, bytes.data(), bytes.size());
        used += bytes.size();
        return true;
    }
    bool Restart() override { return false; }
    std::size_t Used() const { return used; }

  private:
    Bytes& out;
    std::size_t used = 0;
};

}  // namespace cam::bench
