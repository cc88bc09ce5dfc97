// Owners for the strings and values of OLE automation, and for text that the C library allocates.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace cam::config {

// Thrown when a string cannot be allocated, with E_OUTOFMEMORY. Never leaves the library.
struct HresultError {
    HRESULT code;
};

// A text of which the receiver is the owner: to be freed with free().
struct FreeText {
    void operator()(wchar_t* text) const { free(text); }
};
using UniqueText = std::unique_ptr<wchar_t, FreeText>;

// A fresh copy. Throws HresultError.
inline UniqueText CopyText(const wchar_t* text) {
    UniqueText copy(_wcsdup(text));
    if (!copy) throw HresultError{E_OUTOFMEMORY};
    return copy;
}

// Owns a BSTR.
class Bstr {
  public:
    Bstr() = default;
    // Null gives the empty string. Throws HresultError.
    explicit Bstr(const wchar_t* text) : value_(SysAllocString(text ? text : L"")) {
        if (!value_) throw HresultError{E_OUTOFMEMORY};
    }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(value_); }

    BSTR get() const { return value_; }
    // Never null: an absent BSTR is an empty one.
    const wchar_t* text() const { return value_ ? value_ : L""; }
    BSTR release() { return std::exchange(value_, nullptr); }

    // For functions that hand out a string; what was held is freed first.
    BSTR* put() {
        SysFreeString(value_);
        value_ = nullptr;
        return &value_;
    }

  private:
    BSTR value_ = nullptr;
};

// Owns a VARIANT.
class Variant {
  public:
    Variant() { VariantInit(&value_); }
    // A string. Throws HresultError.
    explicit Variant(const wchar_t* text) : Variant() {
        V_BSTR(&value_) = Bstr(text).release();
        V_VT(&value_) = VT_BSTR;
    }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(&value_); }

    const VARIANT& get() const { return value_; }
    VARIANT* put() {
        VariantClear(&value_);
        return &value_;
    }

    // The text of a string, else null.
    const wchar_t* text() const {
        if (V_VT(&value_) != VT_BSTR) return nullptr;
        return V_BSTR(&value_) ? V_BSTR(&value_) : L"";
    }

  private:
    VARIANT value_;
};

}  // namespace cam::config
