// Camera type 2 through the exported functions of the built library.
#include <ocellus/cam.h>

#include <doctest/doctest.h>

#include <string>

#include "kit.h"
#include "process_counts.h"
#include "test_files.h"
#include "test_window.h"

namespace {

int State() {
    int state = -1;
    CHECK(camGetState(&state) == camOk);
    return state;
}

struct Selected {
    Selected() {
        imvKitReset();
        kit::Load(L"{}");
        REQUIRE(camSelect(window.get(), nullptr, nullptr, CAM_TYPE_IMAGER) == camOk);
        REQUIRE(camSetEventsWindow(window.get()) == camOk);
    }
    ~Selected() { camShutDown(); }

    Window window;
};

// The file is read by a barcode decoder afterwards.
TEST_CASE_FIXTURE(Selected, "a still named .jpg is a BMP file of what the imager sees") {
    REQUIRE(camStartPreview() == camOk);
    REQUIRE(camSnapPicture(L"barcode.jpg", 0) == camOk);
    REQUIRE(PumpUntil([this] { return window.captured == 1; }));
    CHECK(State() == CAM_STATE_PREVIEWING);
    CHECK(camStopPreview() == camOk);
    CHECK(ReadBytes(L"barcode.jpg").substr(0, 2) == "BM");
    CHECK(imvKitCallCount(L"SaveJpeg") == 0);
    void* snapshot = nullptr;
    CHECK(camGetSnapshot(&snapshot) == camOk);
    CHECK(snapshot != nullptr);
    long value = -1;
    long flags = 0;
    CHECK(camGetProperty(CAM_PROPERTY_EXPOSURE, &value, &flags) == camOk);
    CHECK(value == 2);
}

TEST_CASE_FIXTURE(Selected, "shutting down and selecting anew end a running preview") {
    for (int round = 0; round < 3; ++round) {
        REQUIRE(camStartPreview() == camOk);
        REQUIRE(PumpUntil([] { return imvKitCallCount(L"Draw") > 0; }));
        if (round < 2) REQUIRE(camSelect(window.get(), nullptr, nullptr, CAM_TYPE_IMAGER) == camOk);
        kit::Load(L"{}");
    }
    CHECK(camShutDown() == camOk);
    CHECK(imvKitOpenEngines() == 0);
    const auto log = kit::LastLogged(4);
    CHECK(log == std::vector<std::wstring>{L"Stop", L"CloseEngine", L"Shutdown", L"Shutdown"});
}

// ---- Without the library ------------------------------------------------------------------------------

std::wstring Folder(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

// ocellus.dll copied to a folder of its own, so that it finds no imager library but what a test puts there.
class Elsewhere {
  public:
    Elsewhere() {
        wchar_t temporary[MAX_PATH];
        GetTempPathW(MAX_PATH, temporary);
        folder = temporary + (L"ocellus-imager-" + std::to_wstring(GetCurrentProcessId()) + L"\\");
        CreateDirectoryW(folder.c_str(), nullptr);
        wchar_t built[MAX_PATH];
        GetModuleFileNameW(GetModuleHandleW(L"ocellus.dll"), built, MAX_PATH);
        original = built;
        REQUIRE(CopyFileW(built, (folder + L"ocellus.dll").c_str(), FALSE));
    }
    ~Elsewhere() {
        if (module) FreeLibrary(module);
        DeleteFileW((folder + L"ocellus.dll").c_str());
        DeleteFileW((folder + L"Imvoxa.dll").c_str());
        RemoveDirectoryW(folder.c_str());
    }
    Elsewhere(const Elsewhere&) = delete;
    Elsewhere& operator=(const Elsewhere&) = delete;

    void Load() {
        module = LoadLibraryW((folder + L"ocellus.dll").c_str());
        REQUIRE(module != nullptr);
    }
    template <typename Export>
    Export* Find(const char* name, Export*) const {
        return reinterpret_cast<Export*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    }

    std::wstring folder;
    std::wstring original;

  private:
    HMODULE module = nullptr;
};

TEST_CASE("without a usable imager library camera type 2 says so, and everything else goes on") {
    // The right library is near: in the current directory, and loaded already.
    Elsewhere other;
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    SetCurrentDirectoryW(Folder(other.original).c_str());
    HRESULT expected = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    SUBCASE("it is missing") {}
    SUBCASE("it is no library") {
        WriteBytes(other.folder + L"Imvoxa.dll", "none");
        expected = HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT);
    }
    SUBCASE("it lacks an operation") {
        REQUIRE(CopyFileW(other.original.c_str(), (other.folder + L"Imvoxa.dll").c_str(), FALSE));
        expected = HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    }
    other.Load();
    const auto select = other.Find("camSelect", camSelect);
    const auto shutDown = other.Find("camShutDown", camShutDown);
    CHECK(select(nullptr, nullptr, nullptr, CAM_TYPE_IMAGER) == expected);
    CHECK(other.Find("camStartPreview", camStartPreview)() == camFailed);
    CHECK(other.Find("camStopPreview", camStopPreview)() == camOk);
    CHECK(other.Find("camSnapPicture", camSnapPicture)(L"x.bmp", 0) == camOk);
    CHECK(other.Find("camSetProperty", camSetProperty)(6, 1, 2) == camInvalidArgument);
    long value = 0;
    long flags = 0;
    CHECK(other.Find("camGetProperty", camGetProperty)(13, &value, &flags) == camInvalidArgument);
    CHECK(other.Find("camGetResolutionDimensions", camGetResolutionDimensions)(&value, &flags, 0) ==
          camInvalidArgument);
    void* snapshot = nullptr;
    CHECK(other.Find("camGetSnapshot", camGetSnapshot)(&snapshot) == camInvalidArgument);
    int state = -1;
    CHECK(other.Find("camGetState", camGetState)(&state) == camOk);
    CHECK(state == CAM_STATE_STILL_TRIGGERED);
    CHECK(shutDown() == camOk);
    SetCurrentDirectoryW(before);
}

// ---- Both types ---------------------------------------------------------------------------------------

TEST_CASE("changing between the two types while one previews leaves nothing behind") {
    Window window;
    imvKitReset();
    const int lostPerGraph = counts::HandlesLostPerGraph();
    int handles = 0;
    int threads = 0;
    int objects = 0;
    constexpr int kRounds = 50;
    constexpr int kWarmRounds = 10;
    for (int round = 0; round < kRounds; ++round) {
        for (const int type : {CAM_TYPE_DSHOW, CAM_TYPE_IMAGER}) {
            REQUIRE(camSelect(window.get(), nullptr, nullptr, type) == camOk);
            REQUIRE(camStartPreview() == camOk);
        }
        REQUIRE(PumpUntil([round] { return imvKitCallCount(L"Draw") > round; }));
        if (round != kWarmRounds - 1 && round != kRounds - 1) continue;
        camShutDown();
        if (round == kWarmRounds - 1) {
            handles = counts::Handles();
            threads = counts::Threads();
            objects = counts::GdiObjects();
        }
    }
    CHECK(counts::Handles() <= handles + (kRounds - kWarmRounds) * lostPerGraph);
    CHECK(counts::Threads() == threads);
    // A lost object a round would be many more.
    CHECK(counts::GdiObjects() <= objects + counts::kGdiObjectsKept);
}

}  // namespace
