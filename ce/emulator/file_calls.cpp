// Files and folders below the process's folder.
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "emulator/devices.h"
#include "emulator/process.h"
#include "emulator/text.h"

namespace ce {

namespace {

namespace fs = std::filesystem;

// The entry of that name, in whatever letters: the device makes no difference between capitals and small
// ones.
fs::path Entry(const fs::path& folder, const std::string& name) {
    std::error_code error;
    if (fs::exists(folder / name, error)) return folder / name;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (strcasecmp(entry.path().filename().c_str(), name.c_str()) == 0) return entry.path();
    }
    return folder / name;
}

}  // namespace

std::string HostPath(Process& process, std::u16string_view name) {
    fs::path path = process.folder;
    const std::string text = ToUtf8(name);
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_of("\\/", at), text.size());
        const std::string part = text.substr(at, end - at);
        // Nothing leads out of the device's folder.
        if (!part.empty() && part != "." && part != "..") path = Entry(path, part);
        at = end + 1;
    }
    return path.string();
}

std::u16string DevicePath(Process& process, const std::string& hostPath) {
    const fs::path relative = fs::path(hostPath).lexically_proximate(process.folder);
    std::string path = "\\" + relative.string();
    if (relative.is_absolute() || *relative.begin() == "..") {
        std::string name = fs::path(hostPath).filename().string();
        for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        path = "\\Windows\\" + name;
    }
    std::replace(path.begin(), path.end(), '/', '\\');
    return FromUtf8(path);
}

bool IsReadOnly(const std::string& path) {
    std::error_code error;
    const fs::perms rights = fs::status(path, error).permissions();
    return !error && (rights & fs::perms::owner_write) == fs::perms::none;
}

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kInvalidHandle = 0xFFFFFFFF;
constexpr u32 kGenericWrite = 0x40000000, kGenericRead = 0x80000000;
constexpr u32 kCreateNew = 1, kCreateAlways = 2, kOpenExisting = 3, kOpenAlways = 4;
constexpr u32 kShareRead = 1, kShareWrite = 2;
constexpr u32 kErrorPathNotFound = 3, kErrorAccessDenied = 5, kErrorSharing = 32, kErrorFileExists = 80;
constexpr u32 kAttributesMissing = 0xFFFFFFFF;
constexpr u32 kAttributeReadOnly = 1, kAttributeFolder = 0x10, kAttributeArchive = 0x20;
constexpr u32 kMaxPath = 260, kFindRecordBytes = 40 + 2 * kMaxPath;

struct File final : Object {
    ~File() override {
        if (stream) std::fclose(stream);
    }
    std::string Describe() const override { return "file " + path; }
    std::string path;
    FILE* stream = nullptr;
    bool readable = false, writable = false;
    u32 share = 0;  // what others may do meanwhile
};

// Files that are open by way of CreateFileW.
std::vector<std::shared_ptr<File>> OpenFiles(Process& p, const std::string& path) {
    std::vector<std::shared_ptr<File>> files;
    for (const auto& [handle, object] : p.AllHandles()) {
        const auto file = std::dynamic_pointer_cast<File>(object);
        if (file && file->path == path) files.push_back(file);
    }
    return files;
}

u32 AttributesOf(const std::string& path) {
    return (fs::is_directory(path) ? kAttributeFolder : kAttributeArchive) |
           (IsReadOnly(path) ? kAttributeReadOnly : 0);
}

// Why that file may not be removed or replaced; 0 when it may.
u32 ObstacleTo(Process& p, const std::string& path) {
    return !OpenFiles(p, path).empty() ? kErrorSharing : IsReadOnly(path) ? kErrorAccessDenied : 0;
}

u32 OpenFile(Process& p, u32 nameAt, u32 access, u32 share, u32 disposition) {
    const std::string path = HostPath(p, p.machine.Text(nameAt));
    const bool exists = fs::is_regular_file(path);
    p.SetLastError(0);
    const auto refuse = [&](u32 error) {
        p.SetLastError(error);
        return kInvalidHandle;
    };
    if (!fs::is_directory(fs::path(path).parent_path())) return refuse(kErrorPathNotFound);
    if (disposition == kOpenExisting && !exists) return refuse(kErrorFileNotFound);
    if (disposition == kCreateNew && exists) return refuse(kErrorFileExists);
    for (const auto& other : OpenFiles(p, path)) {
        const bool mayRead = other->share & kShareRead, mayWrite = other->share & kShareWrite;
        if (((access & kGenericRead) && !mayRead) || ((access & kGenericWrite) && !mayWrite) ||
            (other->readable && !(share & kShareRead)) || (other->writable && !(share & kShareWrite)))
            return refuse(kErrorSharing);
    }
    if (exists && IsReadOnly(path) && ((access & kGenericWrite) || disposition == kCreateAlways))
        return refuse(kErrorAccessDenied);
    const bool empty = disposition == kCreateAlways || !exists;
    auto file = std::make_shared<File>();
    file->path = path;
    file->share = share;
    file->readable = access & kGenericRead;
    file->writable = access & kGenericWrite;
    file->stream = std::fopen(path.c_str(), empty ? "w+b" : file->writable ? "r+b" : "rb");
    if (!file->stream) return refuse(kErrorAccessDenied);
    return p.AddHandle(file);
}

void BindReading(Process& p) {
    p.Bind(kLibrary, "CreateFileW", [&p](u32 name, u32 access, u32 share, u32, u32 disposition, u32, u32) {
        return OpenFile(p, name, access, share, disposition);
    });
    p.Bind(kLibrary, "ReadFile", [&p](u32 handle, u32 buffer, u32 size, u32 doneAt, u32) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file) return p.SetLastError(kErrorInvalidHandle), 0;
        if (!file->readable) return p.SetLastError(kErrorAccessDenied), 0;
        const size_t done = size ? std::fread(p.machine.Bytes(buffer, size), 1, size, file->stream) : 0;
        if (doneAt) p.machine.Write(doneAt, static_cast<u32>(done));
        return 1;
    });
    p.Bind(kLibrary, "WriteFile", [&p](u32 handle, u32 buffer, u32 size, u32 doneAt, u32) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (doneAt) p.machine.Write(doneAt, 0u);
        if (!file) return p.SetLastError(kErrorInvalidHandle), 0;
        if (!file->writable) return p.SetLastError(kErrorAccessDenied), 0;
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
        if (!file) return p.SetLastError(kErrorInvalidHandle), 0;
        if (!file->writable) return p.SetLastError(kErrorAccessDenied), 0;
        std::fflush(file->stream);
        fs::resize_file(file->path, static_cast<u64>(std::ftell(file->stream)));
        return 1;
    });
    p.Bind(kLibrary, "GetFileSize", [&p](u32 handle, u32 highAt) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file) return p.SetLastError(kErrorInvalidHandle), kInvalidHandle;
        std::fflush(file->stream);
        if (highAt) p.machine.Write(highAt, 0u);
        return static_cast<u32>(fs::file_size(file->path));
    });
    p.Bind(kLibrary, "FlushFileBuffers", [&p](u32 handle) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        return file && std::fflush(file->stream) == 0;
    });
    p.Bind(kLibrary, "DeleteFileW", [&p](u32 name) -> u32 {
        std::error_code error;
        const std::string path = HostPath(p, p.machine.Text(name));
        if (const u32 obstacle = ObstacleTo(p, path)) return p.SetLastError(obstacle), 0;
        if (fs::remove(path, error)) return 1;
        return p.SetLastError(kErrorFileNotFound), 0;
    });
    p.Bind(kLibrary, "GetFileAttributesW", [&p](u32 name) -> u32 {
        const std::string path = HostPath(p, p.machine.Text(name));
        if (!fs::exists(path)) return p.SetLastError(kErrorFileNotFound), kAttributesMissing;
        return AttributesOf(path);
    });
}

void BindTimes(Process& p) {
    p.Bind(kLibrary, "GetFileTime", [&p](u32 handle, u32 createdAt, u32 accessedAt, u32 writtenAt) -> u32 {
        const auto file = p.FromHandle<File>(handle);
        if (!file) return p.SetLastError(kErrorInvalidHandle), 0;
        const auto written = fs::last_write_time(file->path).time_since_epoch();
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

// ---- Folders
// -------------------------------------------------------------------------------------------------------------

struct FileSearch final : Object {
    std::string Describe() const override { return "file search"; }
    const char* Closer() const override { return "FindClose"; }
    std::vector<fs::path> found;
    size_t next = 0;
};

// * stands for any characters, ? for one.
bool Matches(std::string_view name, std::string_view pattern) {
    if (pattern.empty()) return name.empty();
    if (pattern.front() == '*')
        return Matches(name, pattern.substr(1)) || (!name.empty() && Matches(name.substr(1), pattern));
    if (name.empty()) return false;
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return (pattern.front() == '?' || lower(pattern.front()) == lower(name.front())) &&
           Matches(name.substr(1), pattern.substr(1));
}

// Attributes, three times, size, object identifier, name.
bool NextFile(Process& p, FileSearch& search, u32 record) {
    if (search.next == search.found.size()) return p.SetLastError(kErrorNoMoreFiles), false;
    const fs::path& path = search.found[search.next++];
    std::memset(p.machine.Bytes(record, kFindRecordBytes), 0, kFindRecordBytes);
    p.machine.Write(record, AttributesOf(path));
    if (!fs::is_directory(path)) p.machine.Write(record + 32, static_cast<u32>(fs::file_size(path)));
    WriteText(p.machine, record + 40, FromUtf8(path.filename().string()).substr(0, kMaxPath - 1));
    return true;
}

void BindFolders(Process& p) {
    p.Bind(kLibrary, "FindFirstFileW", [&p](u32 name, u32 record) -> u32 {
        const fs::path wanted = HostPath(p, p.machine.Text(name));
        auto search = std::make_shared<FileSearch>();
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(wanted.parent_path(), error)) {
            if (Matches(entry.path().filename().string(), wanted.filename().string()))
                search->found.push_back(entry.path());
        }
        std::sort(search->found.begin(), search->found.end());
        return NextFile(p, *search, record) ? p.AddHandle(search) : kInvalidHandle;
    });
    p.Bind(kLibrary, "FindNextFileW", [&p](u32 handle, u32 record) -> u32 {
        const auto search = p.FromHandle<FileSearch>(handle);
        return search && NextFile(p, *search, record);
    });
    p.Bind(kLibrary, "FindClose", [&p](u32 handle) -> u32 { return p.CloseHandle(handle, "FindClose"); });
    p.Bind(kLibrary, "CreateDirectoryW", [&p](u32 name, u32) -> u32 {
        const std::string path = HostPath(p, p.machine.Text(name));
        std::error_code error;
        if (fs::exists(path)) return p.SetLastError(kErrorAlreadyExists), 0;
        return fs::create_directory(path, error) ? 1 : (p.SetLastError(kErrorPathNotFound), 0);
    });
    p.Bind(kLibrary, "RemoveDirectoryW", [&p](u32 name) -> u32 {
        const std::string path = HostPath(p, p.machine.Text(name));
        std::error_code error;
        return fs::is_directory(path) && fs::remove(path, error) ? 1
                                                                 : (p.SetLastError(kErrorPathNotFound), 0);
    });
    p.Bind(kLibrary, "MoveFileW", [&p](u32 from, u32 to) -> u32 {
        const std::string target = HostPath(p, p.machine.Text(to));
        std::error_code error;
        const std::string source = HostPath(p, p.machine.Text(from));
        if (fs::exists(target)) return p.SetLastError(kErrorAlreadyExists), 0;
        if (!OpenFiles(p, source).empty()) return p.SetLastError(kErrorSharing), 0;
        fs::rename(source, target, error);
        return error ? (p.SetLastError(kErrorFileNotFound), 0) : 1;
    });
    p.Bind(kLibrary, "CopyFileW", [&p](u32 from, u32 to, u32 keepExisting) -> u32 {
        const std::string target = HostPath(p, p.machine.Text(to));
        std::error_code error;
        if (keepExisting && fs::exists(target)) return p.SetLastError(kErrorFileExists), 0;
        if (const u32 obstacle = ObstacleTo(p, target)) return p.SetLastError(obstacle), 0;
        fs::copy_file(HostPath(p, p.machine.Text(from)), target, fs::copy_options::overwrite_existing, error);
        return error ? (p.SetLastError(kErrorFileNotFound), 0) : 1;
    });
    p.Bind(kLibrary, "GetTempPathW", [&p](u32 room, u32 buffer) -> u32 {
        constexpr std::u16string_view kTemp = u"\\Temp\\";
        fs::create_directories(HostPath(p, kTemp));
        if (room > kTemp.size()) WriteText(p.machine, buffer, kTemp);
        return static_cast<u32>(kTemp.size()) + (room > kTemp.size() ? 0 : 1);
    });
}

}  // namespace

void BindFiles(Process& process) {
    BindReading(process);
    BindTimes(process);
    BindFolders(process);
}

}  // namespace ce
