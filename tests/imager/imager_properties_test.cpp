// The imager camera's properties.
#include <doctest/doctest.h>

#include "imager_camera/imager_camera.h"
#include "kit.h"
#include "tables/imager_properties.h"

namespace {

using Lines = std::vector<std::wstring>;

struct Properties {
    Properties() {
        imvKitReset();
        kit::Load(L"{}");
        REQUIRE(camera.Init(nullptr, nullptr, nullptr) == S_OK);
        kit::Load(L"{}");
    }
    HRESULT Get(int id, long& value) {
        flags = 77;
        return id < 9 ? camera.GetPropertyA(id, &value, &flags) : camera.GetPropertyB(id, &value, &flags);
    }
    HRESULT Set(int id, long value) {
        return id < 9 ? camera.SetPropertyA(id, value, 1) : camera.SetPropertyB(id, value, 1);
    }
    HRESULT Range(int id) {
        for (long& value : range) value = 77;
        return id < 9 ? camera.GetPropertyRangeA(id, &range[0], &range[1], &range[2], &range[3], &range[4])
                      : camera.GetPropertyRangeB(id, &range[0], &range[1], &range[2], &range[3], &range[4]);
    }
    cam::ImagerCamera camera;
    long flags = 0;
    long range[5] = {};
};

TEST_CASE_FIXTURE(Properties, "properties answer and reach the library as the table says") {
    using Do = tables::ImagerStep::Do;
    for (const tables::ImagerStep& step : tables::kImagerSteps) {
        CAPTURE(static_cast<int>(step.what));
        CAPTURE(step.id);
        CAPTURE(step.value);
        kit::Load(L"{}");
        long value = step.value;
        const HRESULT result = step.what == Do::kGet   ? Get(step.id, value)
                               : step.what == Do::kSet ? Set(step.id, value)
                                                       : Range(step.id);
        CHECK(static_cast<unsigned>(result) == step.result);
        const std::vector<int> answer = step.what == Do::kGet     ? std::vector<int>{value, flags}
                                        : step.what == Do::kRange ? std::vector<int>(range, range + 5)
                                                                  : std::vector<int>();
        CHECK(answer == step.answer);
        CHECK(kit::Log() == (step.told.empty() ? Lines() : Lines{{step.told.begin(), step.told.end()}}));
    }
}

TEST_CASE_FIXTURE(Properties, "the library's refusal is passed on for the exposure, and for no switch") {
    long value = -1;
    kit::LoadCalls(
        L"{\"SetSwitch16\": {\"result\": 1}, \"75\": {\"result\": 1}, \"99\": {\"result\": 1}, \"70\": "
        L"{\"result\": 1}}");
    CHECK(Set(16, 0) == S_OK);
    CHECK(Set(80, 0) == S_OK);
    CHECK(Get(13, value) == E_FAIL);
    CHECK(Set(13, 0) == E_FAIL);
    CHECK(Range(13) == S_OK);
    CHECK(Get(-1, value) == E_NOTIMPL);
}

TEST_CASE_FIXTURE(Properties, "null pointers are refused before anything else") {
    long value = 9;
    for (const int id : {6, 7}) {
        CHECK(camera.GetPropertyA(id, nullptr, &flags) == E_POINTER);
        CHECK(camera.GetPropertyA(id, &value, nullptr) == E_POINTER);
    }
    for (const int id : {13, 14}) {
        CHECK(camera.GetPropertyB(id, nullptr, &flags) == E_POINTER);
        CHECK(camera.GetPropertyB(id, &value, nullptr) == E_POINTER);
    }
    for (int missing = 0; missing < 5; ++missing) {
        CAPTURE(missing);
        long* to[5] = {&value, &value, &value, &value, &flags};
        to[missing] = nullptr;
        flags = 77;
        CHECK(camera.GetPropertyRangeA(6, to[0], to[1], to[2], to[3], to[4]) == E_POINTER);
        CHECK(camera.GetPropertyRangeB(16, to[0], to[1], to[2], to[3], to[4]) == E_POINTER);
        CHECK(flags == 77);
    }
    CHECK(value == 9);
}

}  // namespace
