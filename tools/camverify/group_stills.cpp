// Still pictures: files of every kind and size, and what comes without one.
#include <cstring>

#include "camera.h"
#include "check.h"
#include "files.h"
#include "kit.h"
#include "picture.h"

namespace verify {

namespace {

// Every kind of frame that the still pin can bring; an odd width and height, and rows from the top down.
constexpr wchar_t kKitFormats[] =
    L"{\"preview\": {\"width\": 160, \"height\": 120}, \"stillFormats\": [{\"width\": 320, \"height\": 240}, "
    L"{\"width\": 161, "
    L"\"height\": 121}, {\"width\": 320, \"height\": 240, \"topDown\": true}, {\"width\": 161, \"height\": "
    L"121, \"subtype\": "
    L"\"RGB565\"}, {\"width\": 320, \"height\": 240, \"subtype\": \"RGB565\", \"topDown\": true}]}";

struct FileKind {
    const wchar_t* extension;
    const char* begin;
    size_t beginLength;
    bool blackWhite;
};
constexpr FileKind kKinds[] = {{L".bmp", "BM", 2, false},
                               {L".JPG", "\xFF\xD8\xFF", 3, false},
                               {L".png", "\x89PNG\r\n\x1A\n", 8, false},
                               {L".Tif", "II*", 4, true}};

bool OnlyBlackAndWhite(const SeenFrame& frame) {
    for (LONG y = 0; y < frame.Rows(); ++y) {
        for (LONG x = 0; x < frame.width; ++x) {
            if (frame.At(x, y) != 0 && frame.At(x, y) != 0xFFFF) return false;
        }
    }
    return true;
}

void CheckPng(const std::string& file, const SeenFrame& frame) {
    const auto number = [&](size_t at) {
        LONG value = 0;
        for (size_t i = at; i < at + 4 && i < file.size(); ++i)
            value = value << 8 | static_cast<BYTE>(file[i]);
        return value;
    };
    Equal("width in the file", number(16), frame.width);
    Equal("height in the file", number(20), frame.Rows());
}

// Takes a picture of that kind, into which the callback paints the pattern, and looks at its file.
void TakePainted(Session& session, const FileKind& kind, int mode) {
    stillFrames.Reset();
    stillFrames.onFrame = kind.blackWhite ? PaintBlackWhitePattern : PaintPattern;
    long height = 0, width = 0;
    cam.GetResolutionDimensions(&height, &width, -1);
    static int number = 0;
    const std::wstring name = L"still-" + Wide(std::to_string(++number)) + L"-" +
                              Wide(std::to_string(width)) + L"x" + Wide(std::to_string(height)) +
                              kind.extension;
    const TestFile file(name, Kind::Picture);
    if (!session.Snap(file.path(), mode)) return;
    Equal("state", State(), int{CAM_STATE_PREVIEWING});
    Need("the callback is called", stillFrames.Count(), LONG{1});
    SeenFrame frame = stillFrames.Frames()[0];
    if (kind.blackWhite) Holds("the callback's picture is black and white", OnlyBlackAndWhite(frame));
    if (kit.there && !kind.blackWhite) Holds("the picture shows the chart", ShowsChart(frame, Bits::Rgb565));

    const std::string bytes = file.Bytes();
    Need("the file's first bytes",
         bytes.substr(0, kind.beginLength) == std::string(kind.begin, kind.beginLength));
    Holds("there is more than a header", bytes.size() > 200);
    if (kind.extension == kKinds[0].extension) {
        PaintPattern(frame.bytes.data(), frame.size, frame.height, frame.width, frame.stride);
        Holds("the BMP file holds what the callback left, to the byte", bytes == BmpFile(frame));
    }
    if (kind.extension == kKinds[2].extension) CheckPng(bytes, frame);
}

void Formats() {
    Session session;
    session.NeedUp();
    const Callbacks callbacks;
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    for (const FileKind& kind : kKinds) {
        for (const int mode : {0, 1, 2}) {
            const Row row(Utf8(kind.extension) + ", mode " + std::to_string(mode));
            TakePainted(session, kind, mode);
        }
    }
}

void KitFormats() {
    Session session{std::wstring(kKitFormats)};
    session.NeedUp();
    const Callbacks callbacks;
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    for (int index = 0; index < 5; ++index) {
        if (index > 0) Need("a resolution", cam.SetResolution(index), camResult{camOk});
        for (const FileKind& kind : kKinds) {
            const Row row("resolution " + std::to_string(index) + ", " + Utf8(kind.extension));
            TakePainted(session, kind, 0);
        }
    }
}

void NoFile() {
    Session session;
    session.NeedUp();
    const Callbacks callbacks;
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Equal("no place for the snapshot", cam.GetSnapshot(nullptr), camResult{camInvalidArgument});
    HBITMAP bitmap = reinterpret_cast<HBITMAP>(static_cast<UINT_PTR>(1));
    Equal("the snapshot before the first picture", cam.GetSnapshot(&bitmap), camResult{camOk});
    Holds("there is none", bitmap == nullptr);
    Need("a picture", session.Snap());
    Need("the callback is called", stillFrames.Count(), LONG{1});
    const SeenFrame& frame = stillFrames.Frames()[0];
    Equal("stride modulo 4", frame.stride % 4, DWORD{0});
    Equal("size", frame.size, frame.stride * static_cast<DWORD>(frame.Rows()));
    Equal("the snapshot", cam.GetSnapshot(&bitmap), camResult{camOk});
    BITMAP shape = {};
    Need("it is a bitmap", GetObjectW(bitmap, sizeof shape, &shape) != 0);
    Equal("its width", LONG{shape.bmWidth}, frame.width);
    Equal("its bits a pixel", int{shape.bmBitsPixel}, 16);

    cam.RegisterStillImageCallback(nullptr);
    session.Snap();
    Equal("calls after the callback has gone", stillFrames.Count(), LONG{1});
}

void TriggerToMessage() {
    constexpr int kPictures = 5;
    Session session;
    session.NeedPreview();
    DWORD longest = 0, sum = 0;
    for (int i = 0; i < kPictures; ++i) {
        const TestFile file(L"time.bmp");
        const DWORD begun = GetTickCount();
        if (!session.Snap(file.path())) return;
        const DWORD took = GetTickCount() - begun;
        sum += took;
        longest = took > longest ? took : longest;
        Holds("the file is there with the message", FileExists(file.path()));
    }
    Measured("trigger to message", sum / kPictures, "ms");
    Measured("the longest", longest, "ms");
}

void Replacing() {
    Session session;
    session.NeedPreview();
    {
        const TestFile file(L"old.bmp", std::string(10000000, 'x'));
        if (session.Snap(file.path())) Holds("the old file is replaced", file.Bytes().substr(0, 2) == "BM");
        Holds("nothing of it is left", file.Bytes().size() != 10000000);
    }
    const TestFile folder(L"no-such-folder");
    for (const FileKind& kind : kKinds) {
        const Row row("not writable, " + Utf8(kind.extension));
        const std::wstring path = std::wstring(folder.path()) + L"\\a" + kind.extension;
        session.Snap(path.c_str());
        Equal("state", State(), int{CAM_STATE_PREVIEWING});
        Holds("no file", !FileExists(path));
    }
}

void NobodyTold() {
    const Windows windows;
    Need("the camera comes up", cam.Select(windows.owner, nullptr, nullptr, cameraType), camResult{camOk});
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    Equal("a picture", cam.SnapPicture(nullptr, 0), camResult{camOk});
    Holds("it is taken", PumpUntil([] { return State() == CAM_STATE_PREVIEWING; }));
    Equal("messages", captured, 0);
    Equal("shut down", cam.ShutDown(), camResult{camOk});
}

constexpr wchar_t kQualityKey[] = L"Software\\Microsoft\\DirectShow\\ImageSink\\Quality\\1\\JPG\\Quality";

// The value before, and whether there was one.
bool ExchangeQuality(bool set, DWORD quality, DWORD& before) {
    HKEY key = nullptr;
    DWORD bytes = sizeof before;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kQualityKey, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key,
                        nullptr) != ERROR_SUCCESS) {
        Skip("the registry key of the JPEG quality cannot be written");
    }
    const bool was = RegQueryValueExW(key, L"Value", nullptr, nullptr, reinterpret_cast<BYTE*>(&before),
                                      &bytes) == ERROR_SUCCESS;
    if (set) {
        RegSetValueExW(key, L"Value", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&quality), sizeof quality);
    } else {
        RegDeleteValueW(key, L"Value");
    }
    RegCloseKey(key);
    return was;
}

void Quality() {
    Session session{std::wstring(kKitFormats)};
    session.NeedPreview();
    const auto sizeAt = [&](DWORD quality) {
        DWORD before = 0, ignored = 0;
        const bool was = ExchangeQuality(true, quality, before);
        const TestFile file(L"quality.jpg");
        session.Snap(file.path(), 1);
        ExchangeQuality(was, before, ignored);
        return file.Bytes().size();
    };
    const size_t low = sizeAt(10), high = sizeAt(90);
    Holds("a picture is stored", low > 200);
    Holds("quality 10 needs less than half of the bytes of quality 90", 2 * low < high);
}

void RefusedTrigger() {
    Session session(std::wstring(
        L"{\"calls\": {\"IAMVideoControl::SetMode\": {\"at\": 1, \"result\": \"0x80070005\"}}}"));
    session.NeedPreview();
    Equal("the trigger that the driver refuses", cam.SnapPicture(nullptr, 0), camResult{camCaptureFailed});
    Equal("state", State(), int{CAM_STATE_PREVIEWING});
    session.Snap();
}

constexpr char kDriver[] =
    "see the camera driver's still pin: formats, rows, and one sample for each trigger";
constexpr Check kChecks[] = {
    {"a picture is stored in the format of its extension, in every mode", kCamera | kDShow, Formats, kDriver},
    {"pictures of every frame format, odd sizes and rows from the top down", kKit, KitFormats, kLibraryFault},
    {"without a file name nothing is written and everything else happens", kCamera | kDShow, NoFile, kDriver},
    {"from the trigger to the message, with the file", kCamera, TriggerToMessage,
     "see how long the driver takes for a still sample"},
    {"a file is replaced, and what cannot be written leaves none", kCamera | kDShow, Replacing,
     kLibraryFault},
    {"without an events window a picture is taken and nobody told", kCamera, NobodyTold, kLibraryFault},
    {"the JPEG quality comes from the registry", kKit, Quality, kLibraryFault},
    {"a trigger that the driver refuses fails, and the next one works", kKit, RefusedTrigger, kLibraryFault},
};

}  // namespace

const Group kStills = {"stills", "pictures of every format and size", kChecks};

}  // namespace verify
