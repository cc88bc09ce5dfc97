// The seam when memory runs out, or the system is short of something else: every function fails as it says or
// tries again, and nothing is thrown or lost.
#include <doctest/doctest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "base/unique_resource.h"
#include "platform/desktop/camera_driver/jpeg_frame.h"
#include "platform/desktop/camera_driver/source_picture.h"
#include "platform/desktop/message_queue.h"
#include "platform/owners.h"
#include "platform/platform.h"
#include "camverify/process_counts.h"
#include "refused_call.h"

using namespace cam;
using namespace cam::platform;

namespace {

// How many more allocations succeed, on any thread; below 0: all.
std::atomic<int> allocationsLeft = -1;
std::atomic<int> refused = 0;

void* Allocate(std::size_t size) {
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) {
        allocationsLeft = 0;
        ++refused;
        return nullptr;
    }
    return std::malloc(size ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* block = Allocate(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace {

UniqueMessageQueue MakeQueue() {
    MSGQUEUEOPTIONS options = {sizeof options, 0, 3, 144, TRUE};
    return UniqueMessageQueue(CreateMsgQueue(nullptr, &options));
}

// Each answers whether all went well, with the failure's reason left as the last error.
bool Queue() {
    const UniqueMessageQueue queue = MakeQueue();
    return queue && WriteMsgQueue(queue.get(), "text", 5);
}
bool Notification() {
    const UniqueMessageQueue queue = MakeQueue();
    if (!queue) return false;
    return static_cast<bool>(UniquePowerNotification(RequestPowerNotifications(queue.get(), kPowerResume)));
}
bool Search() {
    constexpr GUID kNoClass = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    DEVMGR_DEVICE_INFORMATION found = {};
    found.dwSize = sizeof found;
    const UniqueDeviceSearch search(FindFirstDevice(DeviceSearchByGuid, &kNoClass, &found));
    return GetLastError() == ERROR_NO_MORE_FILES;
}
bool Imager() {
    const UniqueLibrary library(LoadImagerLibrary());
    return library || GetLastError() == ERROR_MOD_NOT_FOUND;
}
DWORD WINAPI Nothing(void*) {
    return 0;
}
bool Thread() {
    const UniqueHandle thread(CreateLibraryThread(Nothing, nullptr, nullptr));
    return thread && WaitForSingleObject(thread.get(), INFINITE) == WAIT_OBJECT_0;
}

}  // namespace

TEST_CASE("whichever allocation fails, a function of the seam says so and leaves nothing behind") {
    const struct {
        const char* name;
        bool (*use)();
        bool tells;  // why, as the last error
    } cases[] = {{"a queue", Queue, false},
                 {"a notification", Notification, true},
                 {"a search", Search, true},
                 {"the imager library", Imager, true},
                 {"a thread", Thread, true}};
    for (const auto& one : cases) {
        CAPTURE(std::string(one.name));
        REQUIRE(one.use());  // what the system keeps from the first use on
        const int before = counts::Handles();
        REQUIRE(one.use());
        const int handles = counts::Handles();
        const int lost =
            handles - before;  // with each use that succeeds: what a library that is loaded keeps
        int failures = 0;
        for (int allocations = 0;; ++allocations) {
            refused = 0;
            SetLastError(0);
            allocationsLeft = allocations;
            const bool done = one.use();
            const DWORD error = GetLastError();
            allocationsLeft = -1;
            if (refused == 0) break;
            ++failures;
            CHECK_FALSE(done);
            if (one.tells) CHECK((error == ERROR_OUTOFMEMORY || error == ERROR_NOT_ENOUGH_MEMORY));
        }
        CAPTURE(failures);
        CHECK(failures > 0);
        // What a thread had is gone a little after its end. A leak is one for each failure.
        constexpr int kWaitMs = 2000;
        for (int waited = 0; counts::Handles() > handles + lost && waited < kWaitMs; waited += 10) Sleep(10);
        CHECK(counts::Handles() <= handles + lost);
    }
}

TEST_CASE("a webcam's frame for which there is no memory is left out, and the next one is whole") {
    using namespace cam::driver;
    constexpr SourceShape kShape = {Encoding::Yuy2, 60, 40, false};
    constexpr std::uint32_t kWidth = 48, kHeight = 48;
    std::vector<std::uint8_t> sample(kShape.FrameBytes());
    for (std::size_t i = 0; i < sample.size(); ++i) sample[i] = static_cast<std::uint8_t>(i * 7);
    const SourcePicture picture(kShape, sample);
    std::vector<std::uint8_t> wanted(2 * kWidth * kHeight), frame(wanted.size());
    PreviewScaler(kWidth, kHeight).Draw(picture, wanted.data());
    int rounds = 0;
    for (refused = 1; refused; ++rounds) {
        PreviewScaler scaler(kWidth, kHeight);
        refused = 0;
        allocationsLeft = rounds;
        try {
            scaler.Draw(picture, frame.data());
        } catch (const std::bad_alloc&) {
        }
        allocationsLeft = -1;
        scaler.Draw(picture, frame.data());
        CHECK(frame == wanted);
    }
    CHECK(rounds > 3);
}

TEST_CASE("a JPEG frame for which there is no memory leaves nothing behind") {
    // Eight by eight pixels of grey, without Huffman tables.
    std::vector<std::uint8_t> frame = {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    frame.insert(frame.end(), 64, 1);
    for (const int one : {0xFF, 0xC0, 0, 11, 8, 0, 8, 0, 8,  1, 1,    0x11, 0,  // the size
                          0xFF, 0xDA, 0, 8,  1, 1, 0, 0, 63, 0, 0x2B,           // the picture
                          0xFF, 0xD9})
        frame.push_back(static_cast<std::uint8_t>(one));
    const auto isDecoded = [&](int allocations) {
        driver::JpegFrame decoder;
        bool done = false;
        allocationsLeft = allocations;
        try {
            done = decoder.Decode(frame, 8, 8).has_value();
        } catch (const std::bad_alloc&) {
        }
        allocationsLeft = -1;
        return done;
    };
    CHECK(isDecoded(-1));
    CHECK_FALSE(isDecoded(0));
    constexpr int kFrames = 20;
    constexpr long kLeastOfDecoder = 1000;  // bytes that one keeps for itself
    const long before = counts::HeapBytes();
    for (int i = 0; i < kFrames; ++i) CHECK_FALSE(isDecoded(0));
    CHECK(counts::HeapBytes() - before < kFrames * kLeastOfDecoder);
}

TEST_CASE("a change of the devices for which there is no memory is told with the next") {
    SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"all of them that there are");
    const HWND window = CreateWindowW(L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    REQUIRE(WatchDevices(window, WM_APP));
    const HWND hidden = FindWindowW(L"OcellusDeviceNotifications", nullptr);
    CHECK(SendMessageW(hidden, WM_CLOSE, 0, 0) == 0);
    int failures = 0;
    for (refused = 1; refused;) {
        refused = 0;
        allocationsLeft = failures;
        const LRESULT answer = SendMessageW(hidden, WM_DEVICECHANGE, 7, 0);
        allocationsLeft = -1;
        failures += refused != 0;
        CHECK(answer == TRUE);
    }
    CHECK(failures > 0);
    CHECK(WatchDevices(nullptr, 0));
    DestroyWindow(window);
}

extern "C" decltype(&PostThreadMessageW) postThreadMessage TEST_IMPORT(PostThreadMessageW, 16);

namespace {
int asked;
const auto reallyPost = postThreadMessage;

BOOL WINAPI RefuseFirst(DWORD thread, UINT message, WPARAM first, LPARAM second) {
    return ++asked == 1 ? FALSE : reallyPost(thread, message, first, second);
}
}  // namespace

namespace {
HWND watcher;
WNDPROC watcherBefore;

LRESULT CALLBACK WatchAnew(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message != WM_APP) return CallWindowProcW(watcherBefore, window, message, first, second);
    return WatchDevices(nullptr, 0) && WatchDevices(window, WM_APP + 1);
}

DWORD WINAPI AskToWatchAnew(void*) {
    return static_cast<DWORD>(SendMessageW(watcher, WM_APP, 0, 0));
}
}  // namespace

TEST_CASE("a message that comes in while a watch ends may begin the next one") {
    watcher = CreateWindowW(L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    watcherBefore = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(watcher, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(WatchAnew)));
    const auto hidden = [] { return FindWindowW(L"OcellusDeviceNotifications", nullptr); };
    REQUIRE(WatchDevices(watcher, WM_APP + 1));
    const HWND first = hidden();
    const UniqueHandle sender(CreateThread(nullptr, 0, AskToWatchAnew, nullptr, 0, nullptr));
    {
        asked = 0;
        const Redirected refusal(postThreadMessage, RefuseFirst);
        CHECK(WatchDevices(nullptr, 0));
    }
    DWORD answer = FALSE;
    REQUIRE(WaitForSingleObject(sender.get(), INFINITE) == WAIT_OBJECT_0);
    CHECK((GetExitCodeThread(sender.get(), &answer) && answer == TRUE));
    CHECK_FALSE(IsWindow(first));
    CHECK(hidden());
    CHECK(WatchDevices(nullptr, 0));
    CHECK_FALSE(hidden());
    DestroyWindow(watcher);
}

TEST_CASE("a window's thread whose end cannot be asked for is asked again") {
    const UniqueMessageQueue queue = MakeQueue();
    UniquePowerNotification notification(RequestPowerNotifications(queue.get(), kPowerResume));
    REQUIRE(notification);
    asked = 0;
    const Redirected refusal(postThreadMessage, RefuseFirst);
    notification.reset();
    CHECK(asked == 2);
}
