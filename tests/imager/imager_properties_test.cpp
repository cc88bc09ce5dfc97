// The imager camera's properties.
#include <doctest/doctest.h>

#include "imager_camera/imager_camera.h"
#include "kit.h"

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
    bool RangeIs(long minimum, long maximum, long step, long defaultValue, long capability) const {
        return range[0] == minimum && range[1] == maximum && range[2] == step && range[3] == defaultValue &&
               range[4] == capability;
    }

    cam::ImagerCamera camera;
    long flags = 0;
    long range[5] = {};
};

TEST_CASE_FIXTURE(Properties, "three on-off properties are kept as they are given and reach the library") {
    struct Case {
        int id;
        const wchar_t* told;
    };
    for (const Case& c : {Case{6, L"imgEnableMonoColor 1"}, {16, L"SetSwitch16 5"}, {80, L"SetSwitch80 5"}}) {
        CAPTURE(c.id);
        long value = 9;
        CHECK(Get(c.id, value) == S_OK);
        CHECK(value == 0);
        CHECK(flags == 2);
        CHECK(Range(c.id) == S_OK);
        CHECK(RangeIs(0, 1, 1, 0, 2));
        CHECK(Set(c.id, 5) == S_OK);
        CHECK(kit::Log().back() == c.told);
        CHECK(Get(c.id, value) == S_OK);
        CHECK(value == 5);
    }
    kit::LoadCalls(L"{\"SetSwitch16\": {\"result\": 1}, \"75\": {\"result\": 1}}");
    CHECK(Set(16, 0) == S_OK);  // the library's answer is not asked for
    CHECK(Set(80, 0) == S_OK);
}

TEST_CASE_FIXTURE(Properties, "any other property is not implemented") {
    for (const int id : {-1, 0, 5, 7, 8, 9, 12, 14, 15, 17, 79}) {
        CAPTURE(id);
        long value = 9;
        CHECK(Get(id, value) == E_NOTIMPL);
        CHECK(value == 0);
        CHECK(flags == 2);
        CHECK(Range(id) == E_NOTIMPL);
        CHECK(RangeIs(0, 0, 0, 0, 1));
        CHECK(Set(id, 1) == E_NOTIMPL);
    }
    CHECK(kit::Log().empty());
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

TEST_CASE_FIXTURE(Properties,
                  "a get of the exposure selects the setting that is set and ranged from then on") {
    // None is selected at first: the library is asked for setting -2, and refuses.
    CHECK(Range(13) == E_INVALIDARG);
    CHECK(RangeIs(77, 77, 77, 77, 2));
    CHECK(kit::Log().back() == L"imgGetExposureSettingParms -2");
    CHECK(Set(13, 1) == E_FAIL);
    CHECK(kit::Log().back() == L"SetExposureSetting -2=1 8");

    long value = -1;
    CHECK(Get(13, value) == S_OK);
    CHECK(value == 2);
    CHECK(flags == 2);
    CHECK(kit::Log().back() == L"GetExposure");
    const auto calls = kit::Log().size();
    CHECK(Range(13) == S_OK);
    CHECK(RangeIs(0, 2, 2, 2, 2));
    CHECK(kit::Log().size() == calls);
    CHECK(Set(13, 1) == S_OK);
    CHECK(kit::Log().back() == L"SetExposure 1");
    value = -1;
    CHECK(Get(13, value) == S_OK);
    CHECK(value == 1);
    CHECK(Set(13, 3) == E_FAIL);

    value = 0;
    CHECK(Get(13, value) == S_OK);
    CHECK(value == 50);
    CHECK(kit::Log().back() == L"GetExposureSetting 0 8");
    CHECK(Range(13) == S_OK);
    CHECK(RangeIs(1, 100, 1, 50, 2));
    CHECK(Set(13, 80) == S_OK);
    CHECK(kit::Log().back() == L"SetExposureSetting 0=80 8");
    CHECK(Set(13, 101) == E_FAIL);
    CHECK(Set(13, -1) == E_FAIL);  // a value, which selects nothing
    value = 0;
    CHECK(Get(13, value) == S_OK);
    CHECK(value == 80);

    value = 1;
    CHECK(Get(13, value) == S_OK);
    CHECK(Range(13) == S_OK);
    CHECK(RangeIs(0, 15, 1, 0, 2));

    value = 9;  // no such setting, yet it is selected
    CHECK(Get(13, value) == E_FAIL);
    CHECK(value == 9);
    CHECK(flags == 2);
    CHECK(Range(13) == E_INVALIDARG);

    kit::LoadCalls(L"{\"99\": {\"result\": 1}, \"70\": {\"result\": 1}}");
    value = -1;
    CHECK(Get(13, value) == E_FAIL);
    CHECK(Set(13, 0) == E_FAIL);
    CHECK(Range(13) == S_OK);
}

}  // namespace
