#include "base/automation.h"

#include <doctest/doctest.h>

#include <cwchar>

using cam::Bstr;
using cam::Variant;

namespace {
struct Counted final : IUnknown {
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count; }
    ULONG STDMETHODCALLTYPE Release() override { return --count; }
    ULONG count = 0;
};

void Hold(Variant& value, Counted& object) {
    VARIANT* out = value.put();
    V_VT(out) = VT_UNKNOWN;
    V_UNKNOWN(out) = &object;
    object.AddRef();
}
}  // namespace

TEST_CASE("a value lets go of what it holds: at its end, for another, and for a string") {
    Counted first, second;
    {
        Variant value;
        Hold(value, first);
        CHECK(value.text() == nullptr);
        Hold(value, second);
        CHECK(first.count == 0);
        CHECK(second.count == 1);
        value.Adopt(Bstr(L"text"));
        CHECK(second.count == 0);
        CHECK(std::wcscmp(value.text(), L"text") == 0);
        Hold(value, first);
    }
    CHECK(first.count == 0);
}
