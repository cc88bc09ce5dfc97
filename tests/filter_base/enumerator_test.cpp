#include <doctest/doctest.h>

#include "filter_base/test_filters.h"

using namespace cam;
using namespace cam::test;

TEST_CASE("pins are enumerated, skipped, cloned") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    source->pinCount = 3;  // three times the same
    const ULONG before = CountOf(source.get());
    {
        ComPtr<IEnumPins> pins;
        REQUIRE(source->EnumPins(pins.put()) == S_OK);
        CHECK(CountOf(source.get()) == before + 1);  // kept alive

        IPin* out[4] = {};
        ULONG fetched = 9;
        CHECK(pins->Next(2, out, nullptr) == E_INVALIDARG);
        CHECK(pins->Next(2, nullptr, &fetched) == E_POINTER);
        CHECK(pins->Next(2, out, &fetched) == S_OK);
        CHECK(fetched == 2);
        CHECK(out[1] == &source->pin);

        ComPtr<IEnumPins> clone;
        REQUIRE(pins->Clone(clone.put()) == S_OK);
        CHECK(pins->Next(2, out + 2, &fetched) == S_FALSE);
        CHECK(fetched == 1);
        CHECK(pins->Next(1, out + 3, nullptr) == S_FALSE);
        CHECK(clone->Skip(2) == S_FALSE);
        CHECK(clone->Skip(1) == S_OK);  // stood where its original stood
        CHECK(clone->Skip(1) == S_FALSE);
        CHECK(clone->Reset() == S_OK);
        CHECK(clone->Skip(3) == S_OK);
        for (IPin* pin : out) {
            if (pin) pin->Release();
        }
    }
    CHECK(CountOf(source.get()) == before);
}

TEST_CASE("an enumerator that is out of step says so until it is reset") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    source->pin.types.push_back(VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16));
    ComPtr<IEnumPins> pins;
    ComPtr<IEnumMediaTypes> types;
    REQUIRE(source->EnumPins(pins.put()) == S_OK);
    REQUIRE(source->pin.EnumMediaTypes(types.put()) == S_OK);
    ++source->pinVersion;
    ++source->pin.typeVersion;

    ComPtr<IPin> pin;
    ComPtr<IEnumPins> pinsClone;
    CHECK(pins->Next(1, pin.put(), nullptr) == VFW_E_ENUM_OUT_OF_SYNC);
    CHECK(pins->Skip(1) == VFW_E_ENUM_OUT_OF_SYNC);
    CHECK(pins->Clone(pinsClone.put()) == VFW_E_ENUM_OUT_OF_SYNC);
    CHECK(pins->Reset() == S_OK);
    CHECK(pins->Next(1, pin.put(), nullptr) == S_OK);

    AM_MEDIA_TYPE* type = nullptr;
    CHECK(types->Next(1, &type, nullptr) == VFW_E_ENUM_OUT_OF_SYNC);
    CHECK(types->Reset() == S_OK);
    CHECK(types->Next(1, &type, nullptr) == S_OK);
    DeleteMediaType(type);
}

TEST_CASE("media types are handed out as copies") {
    const NoLeaks noLeaks;
    const Held<TestSource> source;
    source->pin.types.push_back(VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16));
    source->pin.types.push_back(VideoType(MEDIASUBTYPE_YUY2, 640, 480, 16));
    ComPtr<IEnumMediaTypes> types;
    ComPtr<IEnumMediaTypes> clone;
    REQUIRE(source->pin.EnumMediaTypes(types.put()) == S_OK);
    CHECK(types->Skip(1) == S_OK);
    REQUIRE(types->Clone(clone.put()) == S_OK);
    for (IEnumMediaTypes* each : {types.get(), clone.get()}) {
        AM_MEDIA_TYPE* out[2] = {};
        ULONG fetched = 9;
        CHECK(each->Next(2, out, nullptr) == E_INVALIDARG);
        CHECK(each->Next(2, out, &fetched) == S_FALSE);
        REQUIRE(fetched == 1);
        CHECK(SameMediaType(*out[0], source->pin.types[1]));
        CHECK(out[0]->pbFormat != source->pin.types[1].pbFormat);
        DeleteMediaType(out[0]);
        CHECK(each->Skip(1) == S_FALSE);
    }
}
