// Owners for the strings and values of OLE automation.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include "base/unique_resource.h"

namespace cam {

// Thrown when there is no memory, with E_OUTOFMEMORY. Never leaves the library.
struct HresultError {
    HRESULT code;
};

// What else a call answered. Throws HresultError.
inline HRESULT ThrowIfNoMemory(HRESULT result) {
    if (result == E_OUTOFMEMORY) throw HresultError{result};
    return result;
}

class Bstr : public UniqueResource<BSTR, SysFreeString> {
  public:
    Bstr() = default;
    // Null gives the empty string. Throws HresultError.
    explicit Bstr(const wchar_t* text) : UniqueResource(SysAllocString(text ? text : L"")) {
        if (!*this) throw HresultError{E_OUTOFMEMORY};
    }

    // Never null: an absent string is an empty one.
    const wchar_t* text() const { return get() ? get() : L""; }
};

class Variant {
  public:
    Variant() { VariantInit(&value); }
    // A string. Throws HresultError.
    explicit Variant(const wchar_t* text) : Variant() { Adopt(Bstr(text)); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(&value); }

    VARIANT& get() { return value; }
    const VARIANT& get() const { return value; }

    // For functions that hand out a value; what was held is freed first.
    VARIANT* put() {
        VariantClear(&value);
        return &value;
    }

    // Becomes that string.
    void Adopt(Bstr string) {
        put();
        V_BSTR(&value) = string.release();
        V_VT(&value) = VT_BSTR;
    }

    // The text of a string, else null.
    const wchar_t* text() const {
        if (V_VT(&value) != VT_BSTR) return nullptr;
        return V_BSTR(&value) ? V_BSTR(&value) : L"";
    }

  private:
    VARIANT value;
};

}  // namespace cam
