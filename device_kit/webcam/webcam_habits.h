// What a scenario says of the kit's webcams.
#pragma once

#include <string>
#include <vector>

#include "base/frame.h"

namespace kit {

// The last is grey of 8 bits, as cameras for infrared light send it: there are programs that do not know it.
enum class WebcamEncoding { Yuy2, Nv12, Mjpg, Rgb24, Y800 };

struct WebcamFormat {
    WebcamEncoding encoding = WebcamEncoding::Yuy2;
    int width = 640;
    int height = 480;
    int framesPerSecond = 30;
    bool longBlock = false;  // VIDEOINFOHEADER2 in place of VIDEOINFOHEADER

    // The most that a sample holds.
    int SampleSize() const {
        const int evenWidth = (width + 1) / 2 * 2, evenHeight = (height + 1) / 2 * 2;
        switch (encoding) {
            case WebcamEncoding::Nv12:
                return width * height + evenWidth * evenHeight / 2;
            case WebcamEncoding::Rgb24:
                return static_cast<int>(cam::RowStride(static_cast<unsigned>(width), 24)) * height;
            case WebcamEncoding::Y800:
                return width * height;
            default:
                return evenWidth * 2 * height;
        }
    }
};

// How the webcam is named to the system; no path: a webcam of software.
struct WebcamEntry {
    std::string name;
    std::string path;
};

// What real webcams do now and then.
struct WebcamHabits {
    bool losesSilently = false;  // a webcam that is gone sends nothing more, and no notice either
    bool huffmanTables = true;   // in its JPEG pictures
    long blackFrames = 0;        // at every start
    long brokenFrameEvery = 0;   // JPEG pictures that are cut off; 0: none
    long firstFrameMs = 0;       // from every start
};

// What a camera that knows its trade lists by itself.
inline std::vector<WebcamFormat> UsualWebcamFormats() {
    using enum WebcamEncoding;
    return {{Yuy2, 640, 480, 30},  {Yuy2, 640, 480, 30, true}, {Yuy2, 320, 240, 30},   {Yuy2, 1280, 720, 10},
            {Nv12, 640, 480, 30},  {Nv12, 320, 240, 30},       {Mjpg, 640, 480, 30},   {Mjpg, 1280, 720, 30},
            {Rgb24, 640, 480, 30}, {Rgb24, 320, 240, 15},      {Mjpg, 1600, 1200, 15}, {Yuy2, 161, 121, 30}};
}

}  // namespace kit
