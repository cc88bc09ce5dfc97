// Which argument is judged first, what reaches the camera, and what its result becomes.
#include <doctest/doctest.h>

#include <functional>
#include <map>
#include <utility>

#include "fake_camera.h"
#include "camverify/tables/arguments.h"

namespace {

std::wstring Widen(const std::string& text) {
    return {text.begin(), text.end()};
}

template <typename T>
T As(UINT_PTR word) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(word);
    } else {
        return static_cast<T>(word);
    }
}

using Export = std::function<camResult(const UINT_PTR* words)>;
template <typename... A>
Export Of(camResult(WINAPI* function)(A...)) {
    return [=]([[maybe_unused]] const UINT_PTR* words) {
        return [&]<size_t... I>(std::index_sequence<I...>) {
            return function(As<A>(words[I])...);
        }
        (std::index_sequence_for<A...>());
    };
}

camResult Call(const tables::ArgumentCase& call) {
    static const std::map<std::string, Export> exports = {
        {"GetCameraID", Of(camGetCameraID)},
        {"GetDllRevision", Of(camGetDllRevision)},
        {"GetProperty", Of(camGetProperty)},
        {"GetPropertyRange", Of(camGetPropertyRange)},
        {"GetResolutionCount", Of(camGetResolutionCount)},
        {"GetResolutionDimensions", Of(camGetResolutionDimensions)},
        {"GetSnapshot", Of(camGetSnapshot)},
        {"GetState", Of(camGetState)},
        {"RegisterMediaTypeCallback", Of(camRegisterMediaTypeCallback)},
        {"RegisterPreviewCallback", Of(camRegisterPreviewCallback)},
        {"RegisterStillImageCallback", Of(camRegisterStillImageCallback)},
        {"SetEventsWindow", Of(camSetEventsWindow)},
        {"SetProperty", Of(camSetProperty)},
        {"SetResolution", Of(camSetResolution)},
        {"ShutDown", Of(camShutDown)},
        {"SnapPicture", Of(camSnapPicture)},
        {"SnapPictureWithText", Of(camSnapPictureWithText)},
        {"StartPreview", Of(camStartPreview)},
        {"StopPreview", Of(camStopPreview)}};
    static UINT_PTR rooms[7];
    std::wstring text;
    std::vector<UINT_PTR> words;
    for (const tables::Argument& argument : call.arguments) {
        using Kind = tables::Argument::Kind;
        if (argument.kind == Kind::kText) text = Widen(argument.text);
        words.push_back(argument.kind == Kind::kRoom   ? reinterpret_cast<UINT_PTR>(&rooms[words.size()])
                        : argument.kind == Kind::kText ? reinterpret_cast<UINT_PTR>(text.c_str())
                                                       : static_cast<UINT_PTR>(argument.number));
    }
    return exports.at(call.function)(words.data());
}

}  // namespace

TEST_CASE("every function checks its arguments in its order and turns the camera's result into its own") {
    for (const tables::ArgumentCase& call : tables::kArguments) {
        CAPTURE(tables::Describe(call));
        ResetFakeCameras();
        CHECK(Call(call) == call.withoutCamera);
        CHECK(TakeCalls() == L"");

        REQUIRE(camSelect(nullptr, nullptr, nullptr, 1) == 0);
        TakeCalls();
        CHECK(Call(call) == call.withCamera);
        CHECK(TakeCalls() == Widen(call.reaches));

        // A positive result is a failure like any other.
        for (const HRESULT failure : {E_FAIL, static_cast<HRESULT>(123)}) {
            ResetFakeCameras();
            REQUIRE(camSelect(nullptr, nullptr, nullptr, 1) == 0);
            fakeCameras.result = failure;
            CHECK(Call(call) == call.whenCameraFails);
        }
    }
    ResetFakeCameras();
}

TEST_CASE("what the camera writes reaches the caller's own variables") {
    long a, b, c, d, e;
    int number;
    ResetFakeCameras();
    REQUIRE(camInit(nullptr, nullptr, nullptr) == 0);
    CHECK(camGetPropertyRange(9, &a, &b, &c, &d, &e) == 0);
    CHECK(((a == 1) && (b == 2) && (c == 3) && (d == 4) && (e == 5)));
    CHECK(camGetCameraID(&a) == 0);
    CHECK(a == 7);
    CHECK(camGetResolutionCount(&number) == 0);
    CHECK(number == 5);
    CHECK(camGetState(&number) == 0);
    CHECK(number == 3);

    number = 42;
    fakeCameras.result = E_FAIL;
    CHECK(camGetState(&number) == 10);
    CHECK(number == 42);
    ResetFakeCameras();
}

TEST_CASE("the revision is thirteen characters") {
    wchar_t revision[16];
    std::fill(std::begin(revision), std::end(revision), L'x');
    CHECK(camGetDllRevision(revision) == 0);
    CHECK(std::wstring(revision, 16) == std::wstring(L"2.209.30001.0\0xx", 16));
}
