// The C library's streams, as bytes: ends of lines stay as they are. The standard ones reach the host;
// nothing can be read from them.
#include <cstdio>
#include <filesystem>

#include "emulator/devices.h"
#include "emulator/process.h"
#include "emulator/text.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kEndOfFile = 0xFFFFFFFF;
constexpr u32 kStandardInput = 0x00F00000, kStandardOutput = kStandardInput + 1,
              kStandardError = kStandardInput + 2;

struct Stream final : Object {
    explicit Stream(FILE* opened) : stream(opened) {}
    ~Stream() override { std::fclose(stream); }
    std::string Describe() const override { return "stream"; }
    const char* Closer() const override { return "fclose"; }
    FILE* stream;
};

bool Write(Process& p, u32 handle, std::string_view bytes) {
    if (handle == kStandardOutput || handle == kStandardError) {
        p.WriteOutput(handle == kStandardOutput ? Process::Output::Standard : Process::Output::Error, bytes);
        return true;
    }
    const auto stream = p.FromHandle<Stream>(handle);
    if (!stream) throw Failure("written to what is no stream\n" + p.machine.Backtrace());
    return std::fwrite(bytes.data(), 1, bytes.size(), stream->stream) == bytes.size();
}

FILE* FileOf(Process& p, u32 handle, const char* call) {
    const auto stream = p.FromHandle<Stream>(handle);
    if (!stream)
        throw Failure(std::string(call) + " with what is no stream of a file\n" + p.machine.Backtrace());
    return stream->stream;
}

u32 Open(Process& p, const std::u16string& name, const std::u16string& mode) {
    const std::string path = HostPath(p, name);
    const bool isRead = mode.starts_with(u'r') && mode.find(u'+') == std::u16string::npos;
    const bool canOpen = !std::filesystem::is_directory(path) && (isRead || !IsReadOnly(path));
    FILE* stream = canOpen ? std::fopen(path.c_str(), ToUtf8(mode).c_str()) : nullptr;
    if (!stream) return p.SetLastError(kErrorFileNotFound), 0;
    return p.AddHandle(std::make_shared<Stream>(stream));
}

std::u16string Widened(const std::string& bytes) {
    std::u16string text;
    for (const char byte : bytes) text.push_back(static_cast<unsigned char>(byte));
    return text;
}

// Formats and writes; the count of characters.
u32 Print(Process& p, u32 handle, u32 format, bool isWide, const std::function<u32()>& next) {
    auto& m = p.machine;
    const auto text = Format(m, isWide ? m.Text(format) : Widened(m.Narrow(format)), isWide, next);
    const std::string bytes = isWide ? ToUtf8(text) : std::string(text.begin(), text.end());
    return Write(p, handle, bytes) ? static_cast<u32>(text.size()) : kEndOfFile;
}

void BindPrinting(Process& p) {
    for (const bool isWide : {false, true}) {
        p.BindRaw(kLibrary, isWide ? "wprintf" : "printf", [&p, isWide](Arguments& arguments) -> u64 {
            const u32 format = arguments.Word();
            return Print(p, kStandardOutput, format, isWide, [&] { return arguments.Word(); });
        });
        p.BindRaw(kLibrary, isWide ? "fwprintf" : "fprintf", [&p, isWide](Arguments& arguments) -> u64 {
            const u32 handle = arguments.Word(), format = arguments.Word();
            return Print(p, handle, format, isWide, [&] { return arguments.Word(); });
        });
        const auto list = [&p, isWide](u32 handle, u32 format, u32 at) {
            return Print(p, handle, format, isWide,
                         [&p, at]() mutable { return p.machine.Read<u32>(std::exchange(at, at + 4)); });
        };
        p.Bind(kLibrary, isWide ? "vwprintf" : "vprintf",
               [list](u32 format, u32 at) { return list(kStandardOutput, format, at); });
        p.Bind(kLibrary, isWide ? "vfwprintf" : "vfprintf", list);
    }
    auto& m = p.machine;
    p.Bind(kLibrary, "puts", [&p, &m](u32 text) -> u32 {
        return Write(p, kStandardOutput, m.Narrow(text) + "\n") ? 0 : kEndOfFile;
    });
    p.Bind(kLibrary, "_putws", [&p, &m](u32 text) -> u32 {
        return Write(p, kStandardOutput, ToUtf8(m.Text(text)) + "\n") ? 0 : kEndOfFile;
    });
    p.Bind(kLibrary, "fputs", [&p, &m](u32 text, u32 handle) -> u32 {
        return Write(p, handle, m.Narrow(text)) ? 0 : kEndOfFile;
    });
    p.Bind(kLibrary, "fputws", [&p, &m](u32 text, u32 handle) -> u32 {
        return Write(p, handle, ToUtf8(m.Text(text))) ? 0 : kEndOfFile;
    });
    const auto put = [&p](u32 byte, u32 handle) -> u32 {
        const char c = static_cast<char>(byte);
        return Write(p, handle, {&c, 1}) ? byte & 0xFF : kEndOfFile;
    };
    p.Bind(kLibrary, "fputc", put);
    p.Bind(kLibrary, "putchar", [put](u32 byte) { return put(byte, kStandardOutput); });
    const auto putWide = [&p](u32 unit, u32 handle) -> u32 {
        const char16_t c = static_cast<char16_t>(unit);
        return Write(p, handle, ToUtf8({&c, 1})) ? unit : 0xFFFF;
    };
    p.Bind(kLibrary, "fputwc", putWide);
    p.Bind(kLibrary, "putwchar", [putWide](u32 unit) { return putWide(unit, kStandardOutput); });
}

}  // namespace

void BindStreams(Process& p) {
    BindPrinting(p);
    p.Bind(kLibrary, "_getstdfilex", [](u32 index) { return kStandardInput + index; });
    p.Bind(kLibrary, "_wfopen",
           [&p](u32 name, u32 mode) { return Open(p, p.machine.Text(name), p.machine.Text(mode)); });
    p.Bind(kLibrary, "fopen", [&p](u32 name, u32 mode) {
        return Open(p, FromUtf8(p.machine.Narrow(name)), FromUtf8(p.machine.Narrow(mode)));
    });
    p.Bind(kLibrary, "fclose",
           [&p](u32 handle) -> u32 { return p.CloseHandle(handle, "fclose") ? 0 : kEndOfFile; });
    p.Bind(kLibrary, "fread", [&p](u32 buffer, u32 size, u32 count, u32 handle) -> u32 {
        FILE* stream = FileOf(p, handle, "fread");
        if (size == 0 || count == 0) return 0;
        return static_cast<u32>(std::fread(p.machine.Bytes(buffer, size * count), size, count, stream));
    });
    p.Bind(kLibrary, "fwrite", [&p](u32 buffer, u32 size, u32 count, u32 handle) -> u32 {
        if (size == 0 || count == 0) return 0;
        const char* bytes = reinterpret_cast<const char*>(p.machine.Bytes(buffer, size * count));
        return Write(p, handle, {bytes, static_cast<size_t>(size) * count}) ? count : 0;
    });
    p.Bind(kLibrary, "fgets", [&p](u32 buffer, i32 room, u32 handle) -> u32 {
        if (handle == kStandardInput || room <= 0) return 0;
        auto* bytes = reinterpret_cast<char*>(p.machine.Bytes(buffer, static_cast<u32>(room)));
        return std::fgets(bytes, room, FileOf(p, handle, "fgets")) ? buffer : 0;
    });
    p.Bind(kLibrary, "fgetc", [&p](u32 handle) -> i32 {
        return handle == kStandardInput ? EOF : std::fgetc(FileOf(p, handle, "fgetc"));
    });
    p.Bind(kLibrary, "fseek", [&p](u32 handle, i32 distance, u32 origin) -> i32 {
        return std::fseek(FileOf(p, handle, "fseek"), distance, static_cast<int>(origin));
    });
    p.Bind(kLibrary, "ftell",
           [&p](u32 handle) { return static_cast<i32>(std::ftell(FileOf(p, handle, "ftell"))); });
    p.Bind(kLibrary, "feof", [&p](u32 handle) -> i32 { return std::feof(FileOf(p, handle, "feof")); });
    p.Bind(kLibrary, "ferror", [&p](u32 handle) -> i32 {
        const auto stream = p.FromHandle<Stream>(handle);
        return stream ? std::ferror(stream->stream) : 0;
    });
    p.Bind(kLibrary, "fflush", [&p](u32 handle) -> i32 {
        const auto stream = p.FromHandle<Stream>(handle);
        return stream ? std::fflush(stream->stream) : 0;
    });
    // The device has a code page of single bytes.
    p.Bind(kLibrary, "IsDBCSLeadByte", [](u32) -> u32 { return 0; });
}

}  // namespace ce
