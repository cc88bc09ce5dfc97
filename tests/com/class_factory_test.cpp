#include <doctest/doctest.h>

#include <string>

#include "com/class_factory.h"
#include "filter_base/test_filters.h"
#include "still/filter_interfaces.h"

using namespace cam;
using namespace cam::test;

STDAPI DllCanUnloadNow();
STDAPI DllGetClassObject(REFCLSID id, REFIID interfaceId, LPVOID* out);

TEST_CASE("class objects are found by class, and only as what they are") {
    const NoLeaks noLeaks;
    void* out = &out;
    CHECK(DllGetClassObject(kClsidSampleGrabber, __uuidof(IClassFactory), nullptr) == E_POINTER);
    CHECK(DllGetClassObject(CLSID_FilterGraph, __uuidof(IClassFactory), &out) == CLASS_E_CLASSNOTAVAILABLE);
    CHECK(out == nullptr);
    CHECK(DllGetClassObject(kClsidSampleGrabber, __uuidof(IBaseFilter), &out) == E_NOINTERFACE);
    CHECK(out == nullptr);
    CHECK(DllCanUnloadNow() == S_OK);
}

TEST_CASE("a factory creates its filter, alone or as part of another object") {
    const NoLeaks noLeaks;
    struct Row {
        std::string what;
        CLSID id;
        IID control;
    };
    for (const Row& row : {Row{"grabber", kClsidSampleGrabber, __uuidof(ISampleGrabberControl)},
                           Row{"sink", kClsidStillImageSink, __uuidof(IStillImageSinkControl)}}) {
        CAPTURE(row.what);
        ComPtr<IClassFactory> factory;
        REQUIRE(DllGetClassObject(row.id, __uuidof(IClassFactory), factory.putVoid()) == S_OK);
        CHECK(DllCanUnloadNow() == S_FALSE);

        void* none = &none;
        CHECK(factory->CreateInstance(nullptr, __uuidof(IBaseFilter), nullptr) == E_POINTER);
        CHECK(factory->CreateInstance(nullptr, __uuidof(IClassFactory), &none) == E_NOINTERFACE);
        CHECK(none == nullptr);

        ComPtr<IBaseFilter> filter;
        REQUIRE(factory->CreateInstance(nullptr, __uuidof(IBaseFilter), filter.putVoid()) == S_OK);
        CHECK(CountOf(filter.get()) == 1);
        CLSID id = {};
        CHECK(filter->GetClassID(&id) == S_OK);
        CHECK(id == row.id);

        Outer outer;
        CHECK(factory->CreateInstance(&outer, __uuidof(IBaseFilter), &none) == E_NOINTERFACE);
        REQUIRE(factory->CreateInstance(&outer, __uuidof(IUnknown), outer.inner.putVoid()) == S_OK);
        CHECK(outer.count == 1);
        ComPtr<IUnknown> control;
        REQUIRE(outer.QueryInterface(row.control, control.putVoid()) == S_OK);
        CHECK(outer.count == 2);
        ComPtr<IUnknown> identity;
        CHECK(control.QueryTo(identity) == S_OK);
        CHECK(identity.get() == &outer);
    }
    CHECK(DllCanUnloadNow() == S_OK);
}

TEST_CASE("a lock keeps the module in memory") {
    const NoLeaks noLeaks;
    ComPtr<IClassFactory> factory;
    REQUIRE(DllGetClassObject(kClsidStillImageSink, __uuidof(IClassFactory), factory.putVoid()) == S_OK);
    CHECK(factory->LockServer(TRUE) == S_OK);
    CHECK(factory->LockServer(TRUE) == S_OK);
    CHECK(factory->LockServer(FALSE) == S_OK);
    IClassFactory* pointer = factory.detach();
    pointer->Release();
    CHECK(DllCanUnloadNow() == S_FALSE);
    REQUIRE(DllGetClassObject(kClsidStillImageSink, __uuidof(IClassFactory), factory.putVoid()) == S_OK);
    CHECK(factory->LockServer(FALSE) == S_OK);
    factory.reset();
    CHECK(DllCanUnloadNow() == S_OK);
}
