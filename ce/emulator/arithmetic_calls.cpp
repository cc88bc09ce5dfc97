// The C library's floating point, sorting and random numbers.
#include <cmath>

#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

struct RandomState {
    u32 seed = 1;
};

}  // namespace

void BindArithmetic(Process& p) {
    using Function = double (*)(double);
    const std::pair<const char*, Function> functions[] = {
        {"floor", std::floor}, {"ceil", std::ceil}, {"fabs", std::fabs},   {"sqrt", std::sqrt},
        {"exp", std::exp},     {"log", std::log},   {"log10", std::log10}, {"sin", std::sin},
        {"cos", std::cos},     {"tan", std::tan},   {"atan", std::atan}};
    for (const auto& [name, function] : functions)
        p.Bind(kLibrary, name, [function](double x) { return function(x); });
    p.Bind(kLibrary, "pow", [](double x, double y) { return std::pow(x, y); });
    p.Bind(kLibrary, "fmod", [](double x, double y) { return std::fmod(x, y); });
    p.Bind(kLibrary, "atan2", [](double y, double x) { return std::atan2(y, x); });
    p.Bind(kLibrary, "abs", [](i32 value) { return value < 0 ? -value : value; });
    p.Bind(kLibrary, "labs", [](i32 value) { return value < 0 ? -value : value; });

    p.Bind(kLibrary, "srand", [&p](u32 seed) { p.Attachment<RandomState>("random").seed = seed; });
    p.Bind(kLibrary, "rand", [&p]() -> u32 {
        u32& seed = p.Attachment<RandomState>("random").seed;
        seed = seed * 1664525 + 1013904223;
        return seed >> 17;
    });
    // By insertion: each step leaves what was sorted before in order, whatever the comparison answers.
    p.Bind(kLibrary, "qsort", [&p](u32 base, u32 count, u32 size, u32 compare) {
        for (u32 i = 1; i < count; ++i) {
            for (u32 at = base + i * size; at > base; at -= size) {
                if (static_cast<i32>(p.machine.Call(compare, {at - size, at})) <= 0) break;
                u8* bytes = p.machine.Bytes(at - size, 2 * size);
                std::swap_ranges(bytes, bytes + size, bytes + size);
            }
        }
    });
}

}  // namespace ce
