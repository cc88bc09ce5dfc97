// The pictures that the device kit's imager library makes.
#include "imager_scene.h"

#include <doctest/doctest.h>

#include <cstdlib>
#include <numeric>
#include <string>

#include "code128.h"

using imvoxa::DrawScene;
using imvoxa::GreyPicture;
using imvoxa::Look;
using imvoxa::Scene;
using imvoxa::StampPosition;

namespace {

GreyPicture Drawn(Scene scene, const Look& look, unsigned frame = 3) {
    GreyPicture picture(320, 240);
    DrawScene(scene, frame, look, picture);
    return picture;
}

long Mean(const GreyPicture& picture) {
    return std::accumulate(picture.pixels.begin(), picture.pixels.end(), 0L) /
           static_cast<long>(picture.pixels.size());
}

struct Box {
    int left = 10000;
    int top = 10000;
    int right = -1;
    int bottom = -1;
};

// Where two pictures differ.
Box Difference(GreyPicture& one, GreyPicture& other) {
    Box box;
    for (int y = 0; y < one.height; ++y) {
        for (int x = 0; x < one.width; ++x) {
            if (one.Row(y)[x] == other.Row(y)[x]) continue;
            box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
                   std::max(box.bottom, y)};
        }
    }
    return box;
}

}  // namespace

TEST_CASE(
    "a barcode has eleven modules for each character, for start and for check, and thirteen for the stop") {
    for (const std::string text : {"A", "OCELLUS2", "~ !"}) {
        const std::string widths = imvoxa::Code128(text);
        CHECK(imvoxa::ModuleCount(widths) == 11 * (static_cast<int>(text.size()) + 2) + 13);
        CHECK(widths.size() == 6 * (text.size() + 2) + 7);
    }
    // Start B, "A", check (104 + 33) mod 103 = 34, stop.
    CHECK(imvoxa::Code128("A") ==
          "211214"
          "111323"
          "131123"
          "2331112");
}

TEST_CASE("scenes move from frame to frame and never leave the picture") {
    for (const Scene scene : {Scene::Barcode, Scene::Page}) {
        for (const int width : {320, 640}) {
            GreyPicture before(width, width * 3 / 4);
            GreyPicture now = before;
            for (unsigned frame = 0; frame < 300; ++frame) {
                DrawScene(scene, frame, {}, now);
                REQUIRE(now.pixels != before.pixels);
                before = now;
            }
            DrawScene(scene, 0xFFFFFFFFU, {}, now);
        }
    }
}

TEST_CASE("settings act on the picture") {
    for (const Scene scene : {Scene::Barcode, Scene::Page}) {
        const long nominal = Mean(Drawn(scene, {}));
        CHECK(std::labs(Mean(Drawn(scene, {.exposurePercent = 50})) - nominal / 2) <= 1);
        CHECK(Mean(Drawn(scene, {.exposurePercent = 150})) > nominal);
        CHECK(Mean(Drawn(scene, {.exposurePercent = 1000})) <= 255);
        CHECK(Mean(Drawn(scene, {.illumination = true})) == nominal + 40);
        CHECK(Drawn(scene, {.aimer = true}).Row(120)[160] == 250);
        for (const std::uint8_t pixel : Drawn(scene, {.blackWhite = true}).pixels)
            REQUIRE((pixel == 0 || pixel == 255));
    }
}

TEST_CASE("a stamp inverts the picture at its position, and nothing beyond the picture") {
    struct Case {
        StampPosition position;
        int column;  // third of the picture: 0 left or top, 1 middle, 2 right or bottom
        int row;
    };
    const GreyPicture plain = Drawn(Scene::Page, {});
    for (const Case& c : {Case{StampPosition::TopLeft, 0, 0}, Case{StampPosition::TopCentre, 1, 0},
                          Case{StampPosition::TopRight, 2, 0}, Case{StampPosition::Centre, 1, 1},
                          Case{StampPosition::BottomLeft, 0, 2}, Case{StampPosition::BottomCentre, 1, 2},
                          Case{StampPosition::BottomRight, 2, 2}}) {
        CAPTURE(static_cast<unsigned>(c.position));
        GreyPicture original = plain;
        GreyPicture stamped = plain;
        imvoxa::StampText(stamped, L"Hello\nyou", c.position, 18);
        const Box box = Difference(original, stamped);
        REQUIRE(box.right >= box.left);
        CHECK((box.left + box.right) / 2 * 3 / 320 == c.column);
        CHECK((box.top + box.bottom) / 2 * 3 / 240 == c.row);
        CHECK(box.bottom - box.top < 2 * 18);
        CHECK(box.bottom - box.top > 18);

        imvoxa::StampText(stamped, L"Hello\nyou", c.position, 18);  // twice is as never
        CHECK(stamped.pixels == plain.pixels);

        imvoxa::StampText(stamped, std::wstring(200, L'W') + L"\n\n\x20AC\n" + std::wstring(50, L'\n'),
                          c.position, 90);
        imvoxa::StampText(stamped, L"x", c.position, -5);
        imvoxa::StampText(stamped, L"", c.position, 10000);
        imvoxa::StampText(stamped, L"x", c.position, 10000);
    }
}
