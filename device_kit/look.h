// How the properties act on a picture.
#pragma once

#include <array>
#include <climits>

#include "properties.h"
#include "scene/picture.h"

namespace kit {

// Used by one streaming thread.
class Look {
  public:
    // The picture as the camera with these properties sees it; valid until the next call. `isStill`: the
    // flash fires for stills only.
    const Picture& Apply(const Picture& seen, const PropertyTable& properties, bool isStill);

  private:
    void Zoom(const Picture& in, long factor);
    void Blur(int radius);
    void Color(int saturationPercent);
    void Tone(const PropertyTable& properties, bool flash);

    Picture picture;
    Picture other;
    std::array<long, 4> toneOf = {LONG_MIN, 0, 0, 0};  // what tone was made for
    std::array<unsigned char, 256> tone;
};

}  // namespace kit
