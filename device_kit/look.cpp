#include "look.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace kit {
namespace {

constexpr long kSubjectDistance = 150;  // in the unit of "focusFixed": where the picture is sharp
constexpr long kDistancePerRadius = 10;
constexpr long kFlashBoost = 64;

// Mean over 2 * radius + 1 values along a line whose neighbours are `stride` apart; the ends are repeated.
void BlurLine(const Pixel* in, Pixel* out, int length, std::ptrdiff_t stride, int radius) {
    const int window = 2 * radius + 1;
    const auto at = [&](int index) { return in[std::clamp(index, 0, length - 1) * stride]; };
    int red = 0, green = 0, blue = 0;
    for (int index = -radius; index <= radius; ++index) {
        red += Red(at(index));
        green += Green(at(index));
        blue += Blue(at(index));
    }
    for (int index = 0; index < length; ++index) {
        out[index * stride] = Rgb(red / window, green / window, blue / window);
        const Pixel leaving = at(index - radius), entering = at(index + radius + 1);
        red += Red(entering) - Red(leaving);
        green += Green(entering) - Green(leaving);
        blue += Blue(entering) - Blue(leaving);
    }
}

}  // namespace

const Picture& Look::Apply(const Picture& seen, const PropertyTable& properties, bool isStill) {
    const auto amp = [&](long number) { return properties.Value(PropertySet::VideoProcAmp, number); };
    const auto control = [&](long number) { return properties.Value(PropertySet::CameraControl, number); };
    const long zoom = std::max(1L, control(kZoom));
    const bool autofocus = control(kFocus) != 0;
    const long offFocus = autofocus ? 0 : std::labs(control(kFocusFixed) - kSubjectDistance);
    const int radius = static_cast<int>((offFocus + kDistancePerRadius - 1) / kDistancePerRadius);
    const int saturation = amp(kColorEnable) ? static_cast<int>(amp(kSaturation)) : 0;
    const bool flash = isStill && control(kFlash) != 0;
    const bool plainTone = amp(kBrightness) == 0 && amp(kContrast) == 100 && amp(kGamma) == 100 && !flash;
    if (zoom == 1 && radius == 0 && saturation == 100 && plainTone) return seen;

    Zoom(seen, zoom);
    if (radius > 0) Blur(radius);
    if (saturation != 100) Color(saturation);
    if (!plainTone) Tone(properties, flash);
    return picture;
}

void Look::Zoom(const Picture& in, long factor) {
    if (factor == 1) {
        picture = in;
        return;
    }
    picture.Resize(in.width, in.height);
    const int scale = static_cast<int>(factor);
    const int left = (in.width - in.width / scale) / 2, top = (in.height - in.height / scale) / 2;
    for (int y = 0; y < in.height; ++y) {
        const Pixel* source = in.Row(top + y / scale) + left;
        Pixel* target = picture.Row(y);
        for (int x = 0; x < in.width; ++x) target[x] = source[x / scale];
    }
}

void Look::Blur(int radius) {
    other.Resize(picture.width, picture.height);
    for (int y = 0; y < picture.height; ++y) BlurLine(picture.Row(y), other.Row(y), picture.width, 1, radius);
    for (int x = 0; x < picture.width; ++x)
        BlurLine(other.Row(0) + x, picture.Row(0) + x, picture.height, picture.width, radius);
}

void Look::Color(int saturationPercent) {
    const int weight = saturationPercent * 256 / 100;
    for (Pixel& pixel : picture.pixels) {
        const int red = Red(pixel), green = Green(pixel), blue = Blue(pixel);
        const int grey = (77 * red + 150 * green + 29 * blue + 128) >> 8;
        pixel = Rgb(Clamp255(grey + ((red - grey) * weight >> 8)),
                    Clamp255(grey + ((green - grey) * weight >> 8)),
                    Clamp255(grey + ((blue - grey) * weight >> 8)));
    }
}

void Look::Tone(const PropertyTable& properties, bool flash) {
    const auto amp = [&](long number) { return properties.Value(PropertySet::VideoProcAmp, number); };
    const std::array<long, 4> wanted = {amp(kBrightness), amp(kContrast), amp(kGamma),
                                        flash ? kFlashBoost : 0};
    if (wanted != toneOf) {
        toneOf = wanted;
        for (int value = 0; value < 256; ++value) {
            const double bent =
                255.0 * std::pow(value / 255.0, 100.0 / static_cast<double>(std::max(1L, wanted[2])));
            const double stretched = (bent - 128.0) * static_cast<double>(wanted[1]) / 100.0 + 128.0;
            const double lifted =
                stretched + static_cast<double>(wanted[0]) * 255.0 / 200.0 + static_cast<double>(wanted[3]);
            tone[static_cast<std::size_t>(value)] =
                static_cast<unsigned char>(Clamp255(static_cast<int>(std::lround(lifted))));
        }
    }
    for (Pixel& pixel : picture.pixels)
        pixel = Rgb(tone[pixel >> 16 & 255], tone[pixel >> 8 & 255], tone[pixel & 255]);
}

}  // namespace kit
