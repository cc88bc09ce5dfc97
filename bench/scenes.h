// What cameras see, made from a seed: pictures that no routine was tuned on, beside a photograph and a film.
#pragma once

#include <cstdint>

#include "pixel_frames.h"

namespace cam::bench {

enum class Scene {
    Photograph,  // build/media/photo.png, with a sensor's noise where it is enlarged
    Film,        // a frame of build/media/film.y4m, likewise
    Landscape,   // made up: shades and edges of all sizes, with little, middling or much noise by the seed
    Page,        // printed paper under uneven light
    Grey,        // the landscape without colours
    Gradient,    // slow shades without noise
    Chart,       // bars and grids
    Screen,      // windows with text
    Text,        // black and white
    Halftone,    // the landscape as black and white dots
};
constexpr Scene kScenes[] = {Scene::Photograph, Scene::Film,  Scene::Landscape, Scene::Page, Scene::Grey,
                             Scene::Gradient,   Scene::Chart, Scene::Screen,    Scene::Text, Scene::Halftone};
constexpr const char* NameOf(Scene scene) {
    constexpr const char* kNames[] = {"photograph", "film",  "landscape", "page", "grey",
                                      "gradient",   "chart", "screen",    "text", "halftone"};
    return kNames[static_cast<int>(scene)];
}

// RGB565, top-down, without padding. Empty when there is no photograph or film.
Bytes MakeScene(Scene scene, Size size, std::uint32_t seed);

}  // namespace cam::bench
