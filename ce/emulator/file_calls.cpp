// Files below the process's folder, and the search for device drivers.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "emulator/devices.h"
#include "emulator/process.h"

namespace ce {

std::string HostPath(Process& process, std::u16string_view name) {
    std::string path = process.folder;
    if (name.empty() || name.front() != u'\\') path.push_back('/');
    for (const char16_t unit : name) path.push_back(unit == u'\\' ? '/' : static_cast<char>(unit));
    return path;
}

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kInvalidHandle = 0xFFFFFFFF;
constexpr u32 kGenericWrite = 0x40000000, kGenericRead = 0x80000000;
constexpr u32 kCreateNew = 1, kCreateAlways = 2, kOpenExisting = 3, kOpenAlways = 4;
constexpr u32 kErrorPathNotFound = 3, kErrorAccessDenied = 5, kErrorFileExists = 80;
constexpr u32 kAttributesMissing = 0xFFFFFFFF;
constexpr u32 kSearchByClass = 3;
constexpr u32 kDeviceRecordBytes = 1584;

struct File final : Object {
    ~File() override {
        if (stream) std::fclose(stream);
    }
    std::string Describe() const override { return "file " + path; }
    std::string path;
    FILE* stream = nullptr;
    bool readable = false, writable = false;
};

// What the C library's functions for streams work with.
struct Stream final : Object {
    explicit Stream(FILE* opened) : stream(opened) {}
    ~Stream() override { std::fclose(stream); }
    std::string Describe() const override { return "stream"; }
    FILE* stream;
};

struct DeviceSearch final : Object {
    std::string Describe() const override { return "device search"; }
    Guid wanted;
    size_t next = 0;
};

u32 OpenFile(Process& p, u32 nameAt, u32 access, u32 disposition) {
    const std::string path = HostPath(p, p.machine.Text(nameAt));
    const bool exists = std::filesystem::is_regular_file(path);
    p.SetLastError(0);
    const auto refuse = [&](u32 error) {
        p.SetLastError(error);
        return kInvalidHandle;
    };
    if (!std::filesystem::is_directory(std::filesystem::path(path).parent_path()))
        return refuse(kErrorPathNotFound);
    if (disposition == kOpenExisting && !exists) return refuse(kErrorFileNotFound);
    if (disposition == kCreateNew && exists) return refuse(kErrorFileExists);
    const bool empty = disposition == kCreateAlways || !exists;
    auto file = std::make_shared<File>();
    file->path = path;
    file->readable = access & kGenericRead;
    file->writable = access & kGenericWrite;
    file->stream = std::fopen(path.c_str(), empty ? "w+b" : file->writable ? "r+b" : "rb");
    if (!file->stream) return refuse(kErrorAccessDenied);
    return p.AddHandle(file);
}

void BindReading(Process& p) {
    p.Bind(kLibrary, "CreateFileW", [&p](u32 name, u32 access, u32, u32, u32 disposition, u32, u32) {
        return OpenFile(p, name, access, disposition);
    });
    p.Bind(kLibrary, "ReadFile", [&p](u32 handle, u32 buffer, u32 size, u32 doneAt, u32) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file || !file->readable) return p.SetLastError(kErrorInvalidHandle), 0;
        const size_t done = size ? std::fread(p.machine.Bytes(buffer, size), 1, size, file->stream) : 0;
        if (doneAt) p.machine.Write(doneAt, static_cast<u32>(done));
        return 1;
    });
    p.Bind(kLibrary, "WriteFile", [&p](u32 handle, u32 buffer, u32 size, u32 doneAt, u32) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (doneAt) p.machine.Write(doneAt, 0u);
        if (!file || !file->writable) return p.SetLastError(kErrorInvalidHandle), 0;
        u32 count = size;
        auto& room = p.Attachment<FileRoom>("file room").bytes;
        if (room && count > *room) count = *room;
        if (room) *room -= count;
        if (count) std::fwrite(p.machine.Bytes(buffer, count), 1, count, file->stream);
        if (doneAt) p.machine.Write(doneAt, count);
        if (count == size) return 1;
        return p.SetLastError(112), 0;  // the disk is full
    });
    p.Bind(kLibrary, "SetFilePointer", [&p](u32 handle, i32 distance, u32, u32 origin) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file || std::fseek(file->stream, distance, static_cast<int>(origin)) != 0)
            return p.SetLastError(kErrorInvalidHandle), kInvalidHandle;
        return static_cast<u32>(std::ftell(file->stream));
    });
    p.Bind(kLibrary, "SetEndOfFile", [&p](u32 handle) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file || !file->writable) return p.SetLastError(kErrorInvalidHandle), 0;
        std::fflush(file->stream);
        std::filesystem::resize_file(file->path, static_cast<u64>(std::ftell(file->stream)));
        return 1;
    });
    p.Bind(kLibrary, "DeleteFileW", [&p](u32 name) -> u32 {
        std::error_code error;
        if (std::filesystem::remove(HostPath(p, p.machine.Text(name)), error)) return 1;
        return p.SetLastError(kErrorFileNotFound), 0;
    });
    p.Bind(kLibrary, "GetFileAttributesW", [&p](u32 name) -> u32 {
        const std::string path = HostPath(p, p.machine.Text(name));
        if (!std::filesystem::exists(path)) return p.SetLastError(kErrorFileNotFound), kAttributesMissing;
        return std::filesystem::is_directory(path) ? 0x10 : 0x20;
    });
}

void BindTimes(Process& p) {
    p.Bind(kLibrary, "GetFileTime", [&p](u32 handle, u32 createdAt, u32 accessedAt, u32 writtenAt) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file) return p.SetLastError(kErrorInvalidHandle), 0;
        const auto written = std::filesystem::last_write_time(file->path).time_since_epoch();
        const auto ticks =
            static_cast<u64>(std::chrono::duration_cast<std::chrono::nanoseconds>(written).count());
        for (const u32 at : {createdAt, accessedAt, writtenAt}) {
            if (at) p.machine.Write(at, ticks / 100);
        }
        return 1;
    });
    p.Bind(kLibrary, "CompareFileTime", [&p](u32 one, u32 other) -> i32 {
        const u64 a = p.machine.Read<u64>(one), b = p.machine.Read<u64>(other);
        return a < b ? -1 : a > b;
    });
}

// Only reading: nothing in the DLL writes a stream.
void BindStreams(Process& p) {
    p.Bind(kLibrary, "_wfopen", [&p](u32 name, u32 mode) -> u32 {
        const std::u16string wanted = p.machine.Text(mode);
        if (!wanted.starts_with(u'r')) throw Failure("a stream is opened for more than reading");
        const std::string path = HostPath(p, p.machine.Text(name));
        FILE* stream = std::filesystem::is_regular_file(path) ? std::fopen(path.c_str(), "rb") : nullptr;
        if (!stream) return p.SetLastError(kErrorFileNotFound), 0;
        return p.AddHandle(std::make_shared<Stream>(stream));
    });
    p.Bind(kLibrary, "fclose",
           [&p](u32 handle) -> u32 { return p.CloseHandle(handle) ? 0 : kInvalidHandle; });
    p.Bind(kLibrary, "fread", [&p](u32 buffer, u32 size, u32 count, u32 handle) -> u32 {
        const auto stream = p.FromHandle<Stream>(handle);
        if (!stream) throw Failure("fread from what is no stream");
        if (size == 0 || count == 0) return 0;
        return static_cast<u32>(
            std::fread(p.machine.Bytes(buffer, size * count), size, count, stream->stream));
    });
    // The device has a code page of single bytes.
    p.Bind(kLibrary, "IsDBCSLeadByte", [](u32) -> u32 { return 0; });
}

bool NextDevice(Process& p, DeviceSearch& search, u32 record) {
    const auto& devices = p.Attachment<Devices>("devices");
    for (; search.next < devices.size(); ++search.next) {
        if (devices[search.next].deviceClass == search.wanted) break;
    }
    if (search.next == devices.size()) {
        p.SetLastError(kErrorNoMoreFiles);
        return false;
    }
    const Device& device = devices[search.next++];
    // Size, device, parent; then the legacy name, the key, the name and the bus name.
    p.machine.Write(record + 4, 0x00CA0000 + static_cast<u32>(search.next));
    p.machine.Write(record + 8, 0u);
    for (size_t i = 0; i < 6; ++i) {
        p.machine.Write(record + 12 + 2 * static_cast<u32>(i),
                        static_cast<u16>(i < device.legacyName.size() ? device.legacyName[i] : u'\0'));
    }
    return true;
}

void BindDevices(Process& p) {
    p.Bind(kLibrary, "FindFirstDevice", [&p](u32 kind, u32 parameter, u32 record) -> u32 {
        if (kind != kSearchByClass || p.machine.Read<u32>(record) != kDeviceRecordBytes) {
            return p.SetLastError(kErrorInvalidParameter), kInvalidHandle;
        }
        auto search = std::make_shared<DeviceSearch>();
        search->wanted = ReadGuid(p.machine, parameter);
        if (!NextDevice(p, *search, record)) return kInvalidHandle;
        return p.AddHandle(search);
    });
    p.Bind(kLibrary, "FindNextDevice", [&p](u32 handle, u32 record) -> u32 {
        const auto search = p.FromHandle<DeviceSearch>(handle);
        return search && NextDevice(p, *search, record);
    });
    p.Bind(kLibrary, "FindClose", [&p](u32 handle) -> u32 { return p.CloseHandle(handle); });
}

}  // namespace

void BindFiles(Process& process) {
    BindReading(process);
    BindTimes(process);
    BindStreams(process);
    BindDevices(process);
}

}  // namespace ce
