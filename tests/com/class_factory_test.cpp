#include <doctest/doctest.h>

#include <string>

#include "com/server.h"
#include "filter_base/test_filters.h"
#include "still/filter_interfaces.h"
#include "still/sample_grabber.h"

using namespace cam;
using namespace cam::test;

TEST_CASE("a class's creator says what its caller is told, and whether its objects can be part of others") {
    const NoLeaks noLeaks;
    using filter_base::ComObject;
    struct Row {
        std::string what;
        bool canBePart;
        ComObject* (*create)(IUnknown* outer, HRESULT* result);
        HRESULT alone;
        HRESULT asPart;
    };
    for (const Row& row :
         {Row{"made", true, still::CreateSampleGrabber, S_OK, S_OK},
          {"never a part", false, still::CreateSampleGrabber, S_OK, CLASS_E_NOAGGREGATION},
          {"with a success of its own", true,
           [](IUnknown*outer, HRESULT*result) {
               *result = S_FALSE;
               return still::CreateSampleGrabber(outer, nullptr);
           },
           S_FALSE, S_FALSE},
          {"refused", true,
           [](IUnknown*, HRESULT*result) -> ComObject* {
               *result = E_ACCESSDENIED;
               return nullptr;
           },
           E_ACCESSDENIED, E_ACCESSDENIED},
          {"none, without a reason", true, [](IUnknown*, HRESULT*) -> ComObject* { return nullptr; },
           E_OUTOFMEMORY, E_OUTOFMEMORY}}) {
        CAPTURE(row.what);
        const com::ComClass table[] = {
            {kClsidSampleGrabber, L"", com::kBothThreadingModels, row.canBePart, row.create}};
        ComPtr<IClassFactory> factory;
        REQUIRE(com::GetClassObject(table, kClsidSampleGrabber, __uuidof(IClassFactory), factory.putVoid()) ==
                S_OK);
        ComPtr<IUnknown> object;
        CHECK(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.putVoid()) == row.alone);
        CHECK(static_cast<bool>(object) == SUCCEEDED(row.alone));
        Outer outer;
        CHECK(factory->CreateInstance(&outer, __uuidof(IUnknown), outer.inner.putVoid()) == row.asPart);
        CHECK(static_cast<bool>(outer.inner) == SUCCEEDED(row.asPart));
        void* none = &none;
        CHECK(FAILED(factory->CreateInstance(nullptr, __uuidof(IClassFactory), &none)));
        CHECK(none == nullptr);
    }
}
