// The C library's formatted output into memory.
#include "emulator/process.h"
#include "emulator/text.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kMaxFormatted = 1024;  // what wsprintfW writes at most, in characters with their end

// Words of a va_list, which points at them in memory.
std::function<u32()> ListOf(Machine& m, u32 list) {
    return [&m, list]() mutable { return m.Read<u32>(std::exchange(list, list + 4)); };
}

std::u16string Widened(const std::string& bytes) {
    std::u16string text;
    for (const char byte : bytes) text.push_back(static_cast<unsigned char>(byte));
    return text;
}

// As much as there is room for; -1 when that was not all of it, and no end is written when there is no room
// for it.
i32 Bounded(Machine& m, u32 to, u32 room, std::u16string_view text, bool isWide) {
    const u32 unit = isWide ? 2 : 1;
    for (u32 i = 0; i < room && i <= text.size(); ++i) {
        const u16 value = i < text.size() ? static_cast<u16>(text[i]) : u16{0};
        if (isWide) {
            m.Write(to + unit * i, value);
        } else {
            m.Write(to + i, static_cast<u8>(value));
        }
    }
    return text.size() > room ? -1 : static_cast<i32>(text.size());
}

}  // namespace

void BindFormats(Process& p) {
    auto& m = p.machine;
    // Variable arguments lie in registers and on the stack as any others do.
    p.BindRaw(kLibrary, "wsprintfW", [&m](Arguments& arguments) -> u64 {
        const u32 to = arguments.Word(), format = arguments.Word();
        const auto text = Format(m, m.Text(format), true, [&] { return arguments.Word(); });
        if (text.size() + 1 > kMaxFormatted) return static_cast<u32>(-1);
        return WriteText(m, to, text), text.size();
    });
    p.BindRaw(kLibrary, "_snwprintf", [&m](Arguments& arguments) -> u64 {
        const u32 to = arguments.Word(), room = arguments.Word(), format = arguments.Word();
        const auto text = Format(m, m.Text(format), true, [&] { return arguments.Word(); });
        return static_cast<u32>(Bounded(m, to, room, text, true));
    });
    p.Bind(kLibrary, "_vsnwprintf", [&m](u32 to, u32 room, u32 format, u32 list) {
        return Bounded(m, to, room, Format(m, m.Text(format), true, ListOf(m, list)), true);
    });
    p.BindRaw(kLibrary, "sprintf", [&m](Arguments& arguments) -> u64 {
        const u32 to = arguments.Word(), format = arguments.Word();
        const auto text = Format(m, Widened(m.Narrow(format)), false, [&] { return arguments.Word(); });
        return static_cast<u32>(Bounded(m, to, static_cast<u32>(text.size() + 1), text, false));
    });
    p.BindRaw(kLibrary, "_snprintf", [&m](Arguments& arguments) -> u64 {
        const u32 to = arguments.Word(), room = arguments.Word(), format = arguments.Word();
        const auto text = Format(m, Widened(m.Narrow(format)), false, [&] { return arguments.Word(); });
        return static_cast<u32>(Bounded(m, to, room, text, false));
    });
    p.Bind(kLibrary, "_vsnprintf", [&m](u32 to, u32 room, u32 format, u32 list) {
        return Bounded(m, to, room, Format(m, Widened(m.Narrow(format)), false, ListOf(m, list)), false);
    });
}

}  // namespace ce
