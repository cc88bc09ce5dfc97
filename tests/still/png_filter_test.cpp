// Rows get the filter that makes them small.
#include "still/encoders/png_filter.h"

#include <doctest/doctest.h>

#include <random>
#include <string>
#include <vector>

using namespace cam::still;

TEST_CASE("the filter follows the picture") {
    constexpr std::size_t kCount = 900;
    std::minstd_rand random(3);
    std::vector<std::uint8_t> columns(kCount);
    for (auto& value : columns) value = static_cast<std::uint8_t>(random() >> 8);
    struct {
        const char* name;
        PngFilter expected;
        std::uint8_t (*at)(const std::vector<std::uint8_t>& columns, std::size_t i, unsigned y);
    } const cases[] = {
        {"black and white pixels", PngFilter::None,
         [](const std::vector<std::uint8_t>&, std::size_t i, unsigned y) {
             const auto hash = (static_cast<std::uint32_t>(i / 3) * 2654435761u ^ y * 40503u) * 2246822519u;
             return static_cast<std::uint8_t>(hash >> 20 & 1 ? 255 : 0);
         }},
        {"noise that gets brighter downwards", PngFilter::Up,
         [](const std::vector<std::uint8_t>& some, std::size_t i, unsigned y) {
             return static_cast<std::uint8_t>(some[i] + y);
         }},
    };
    for (const auto& c : cases) {
        CAPTURE(std::string(c.name));
        PngFilterChoice choice;
        std::vector<std::uint8_t> rows[2] = {std::vector<std::uint8_t>(kCount + 3),
                                             std::vector<std::uint8_t>(kCount + 3)};
        std::vector<std::uint8_t> scratch(kCount);
        PngFilter last{};
        for (unsigned y = 0; y < 40; ++y) {
            auto& row = rows[y % 2];
            for (std::size_t i = 0; i < kCount; ++i) row[3 + i] = c.at(columns, i, y);
            last =
                choice.Next(row.data() + 3, rows[1 - y % 2].data() + 3, kCount, scratch, kPlainPixelKernels);
        }
        CHECK(last == c.expected);
    }
}
