// Records that cross a boundary have the same size and the same places on ARM as in a 32-bit desktop build,
// whose layout is the system's own.
#include "support.h"

#include <doctest/doctest.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "emulator/process.h"

using namespace ce;

TEST_CASE("records are laid out as on the 32-bit desktop") {
    Process process;
    Module& module = process.Load(BuiltDll("layouts.dll"));
    const u32 countAt = process.NewBlock(4);
    const u32 table = process.Call(module, "layoutTable", {countAt});
    const u32 count = process.machine.Read<u32>(countAt);
    REQUIRE(count > 30);

    // Made by the 32-bit desktop compiler beside this test: the numbers alone, in the same order.
    std::ifstream file(OCELLUS_LAYOUTS, std::ios::binary);
    const std::vector<char> desktop{std::istreambuf_iterator<char>(file), {}};
    REQUIRE(desktop.size() >= 4 * count);
    for (u32 i = 0; i < count; ++i) {
        const std::string name = process.machine.Narrow(process.machine.Read<u32>(table + 8 * i));
        u32 expected = 0;
        std::memcpy(&expected, desktop.data() + 4 * i, 4);
        CAPTURE(name);
        CHECK(process.machine.Read<u32>(table + 8 * i + 4) == expected);
    }
}
