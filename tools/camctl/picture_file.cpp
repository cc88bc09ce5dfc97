#include "picture_file.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <ocellus/cam.h>

#include "base/file_extension.h"
#include "base/picture_format.h"
#include "base/unique_resource.h"
#include "text.h"

namespace camctl {

namespace {

struct KnownFormat {
    cam::PictureFormat format;
    const char* name;
    std::string_view header;
    std::string_view trailer;  // the file's last bytes; empty: cannot be told
};

using namespace std::string_view_literals;

constexpr KnownFormat kFormats[] = {
    {cam::PictureFormat::Bmp, "BMP", "BM"sv, ""sv},
    {cam::PictureFormat::Jpeg, "JPEG", "\xFF\xD8\xFF"sv, "\xFF\xD9"sv},
    {cam::PictureFormat::Png, "PNG", "\x89PNG\r\n\x1A\n"sv, "IEND\xAE\x42\x60\x82"sv},
    {cam::PictureFormat::Tiff, "TIFF", "II*\0"sv, ""sv},
};
constexpr size_t kMaxMark = 8;

ToolError NoValidFile(const std::wstring& file, const std::string& why, const std::string& remedy) {
    return {ExitCode::NoValidFile, "the picture was reported, but '" + ToUtf8(file) + "' " + why, remedy};
}

std::string ReadAt(HANDLE handle, LONGLONG offset) {
    std::string bytes(kMaxMark, '\0');
    LARGE_INTEGER position;
    position.QuadPart = std::max<LONGLONG>(offset, 0);
    DWORD read = 0;
    if (!SetFilePointerEx(handle, position, nullptr, FILE_BEGIN) ||
        !ReadFile(handle, bytes.data(), kMaxMark, &read, nullptr)) {
        return {};
    }
    bytes.resize(read);
    return bytes;
}

// A BMP file says in bytes 2 to 5 how long it is.
bool HasItsLength(const std::string& head, unsigned long long bytes) {
    DWORD length;
    if (head.size() < 6) return false;
    memcpy(&length, head.data() + 2, sizeof length);
    return length == bytes;
}

}  // namespace

void CheckPictureName(const std::wstring& file) {
    if (cam::PictureFormatOf(file.c_str()) == cam::PictureFormat::None) {
        throw ToolError{
            ExitCode::InvalidArgument,
            "'" + ToUtf8(file) + "' has the extension '" + ToUtf8(cam::FileExtension(file.c_str())) + "'",
            "the extension chooses the format: give .bmp, .jpg, .png or .tif", camInvalidArgument};
    }
    const DWORD old = GetFileAttributesW(file.c_str());
    if (old != INVALID_FILE_ATTRIBUTES && (old & FILE_ATTRIBUTE_DIRECTORY)) {
        throw ToolError{ExitCode::InvalidArgument, "'" + ToUtf8(file) + "' is a folder", "give another name"};
    }
    const size_t separator = file.find_last_of(L"\\/");
    if (separator == std::wstring::npos || separator == 0) return;
    const std::wstring folder = file.substr(0, separator);
    const DWORD attributes = GetFileAttributesW((folder + L"\\").c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        throw ToolError{ExitCode::InvalidArgument, "the folder '" + ToUtf8(folder) + "' does not exist",
                        "make the folder first, or name another"};
    }
}

FileMark MarkFile(const std::wstring& file) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data)) return {};
    const auto join = [](DWORD high, DWORD low) { return static_cast<unsigned long long>(high) << 32 | low; };
    return {true, join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime),
            join(data.nFileSizeHigh, data.nFileSizeLow)};
}

PictureFile CheckPicture(const std::wstring& file, const FileMark& before, bool bmpWhateverExtension) {
    const FileMark after = MarkFile(file);
    const char* remedy =
        "check that the system allows the name, that the disk has room and that the file and its folder may "
        "be "
        "written";
    if (!after.exists) throw NoValidFile(file, "does not exist", remedy);
    if (before.exists && after.writeTime == before.writeTime)
        throw NoValidFile(file, "is the old file, untouched", remedy);
    const auto wanted = bmpWhateverExtension ? cam::PictureFormat::Bmp : cam::PictureFormatOf(file.c_str());
    const KnownFormat& format = *std::find_if(std::begin(kFormats), std::end(kFormats),
                                              [&](const KnownFormat& f) { return f.format == wanted; });
    const cam::UniqueFileHandle handle(
        CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!handle) throw NoValidFile(file, "cannot be read", "close the program that holds it open");
    const std::string head = ReadAt(handle.get(), 0);
    if (!head.starts_with(format.header)) {
        throw NoValidFile(file, std::string("does not begin as a ") + format.name + " file does", remedy);
    }
    const std::string tail =
        ReadAt(handle.get(), static_cast<LONGLONG>(after.size) - static_cast<LONGLONG>(kMaxMark));
    if (!tail.ends_with(format.trailer) || (format.header == "BM" && !HasItsLength(head, after.size))) {
        throw NoValidFile(file, "is cut short", remedy);
    }
    return {format.name, after.size};
}

}  // namespace camctl
