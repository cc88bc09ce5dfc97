// Functions that stand in an interface's table and forward to the real object, made from the interface's own
// declarations.
#pragma once

#include <cstring>
#include <type_traits>

#include "watch/watched_object.h"

namespace kit::watch {

// ---- Arguments in the call log: names and numbers; pointers say nothing -----------------------------------

inline void Note(std::wstring& text, std::wstring_view word) {
    if (word.empty()) return;
    if (!text.empty()) text += L' ';
    text += word;
}
inline void Describe(std::wstring& text, const wchar_t* argument) {
    Note(text, argument ? argument : L"null");
}
inline void Describe(std::wstring& text, wchar_t* argument) {
    Note(text, argument ? argument : L"null");
}
inline void Describe(std::wstring& text, const GUID& argument) {
    Note(text, NameOf(argument));
}
inline void Describe(std::wstring& text, const GUID* argument) {
    if (argument) Note(text, NameOf(*argument));
}
template <typename T>
void Describe(std::wstring& text, const T& argument) {
    if constexpr (std::is_enum_v<T>) {
        Note(text, std::to_wstring(static_cast<long>(argument)));
    } else if constexpr (std::is_integral_v<T>) {
        Note(text, std::to_wstring(argument));
    }
}

// Calls whose numbers are handles or addresses, which are others every time: only noted as being there
// ("set") or not ("0").
bool HasOpaqueNumbers(std::wstring_view call);
template <typename T>
void DescribeOpaque(std::wstring& text, const T& argument) {
    if constexpr (std::is_integral_v<T>) Note(text, argument != 0 ? L"set" : L"0");
}

// ---- Interfaces among the arguments: real ones for the real object, watched ones for the client -----------

template <typename T>
T Real(T argument) {
    if constexpr (std::is_pointer_v<T> && std::is_class_v<std::remove_pointer_t<T>>) {
        if constexpr (std::is_base_of_v<IUnknown, std::remove_pointer_t<T>>)
            return static_cast<T>(WatchedObject::Unwrap(argument));
    }
    return argument;
}

template <typename T>
constexpr bool kHandsOutInterface = false;
template <typename T>
constexpr bool kHandsOutInterface<T**> = std::is_base_of_v<IUnknown, T>;

template <typename T>
void Watch(T argument, const wchar_t* name) {
    if constexpr (kHandsOutInterface<T>) {
        using Interface = std::remove_pointer_t<std::remove_pointer_t<T>>;
        if (!argument) return;
        // A list of pins is the client's to read; any other object that is handed out is watched if it was
        // before.
        void* const watched = std::is_same_v<Interface, IEnumPins>
                                  ? WatchedObject::Wrap(__uuidof(Interface), *argument, name)
                                  : WatchedObject::WrapIfKnown(__uuidof(Interface), *argument);
        *argument = static_cast<Interface*>(watched);
    }
}

template <typename T>
void Clear(T argument) {
    if constexpr (kHandsOutInterface<T>) {
        if (argument) *argument = nullptr;
    }
}

// ---- One method -------------------------------------------------------------------------------------------

template <typename Interface, auto kMethod>
struct Forward;

template <typename Interface, typename Declaring, typename... Arguments,
          HRESULT (STDMETHODCALLTYPE Declaring::*kMethod)(Arguments...)>
struct Forward<Interface, kMethod> {
    static inline std::wstring call;  // "Interface::Method"

    static HRESULT STDMETHODCALLTYPE Function(Facet* self, Arguments... arguments) {
        std::wstring noted;
        // Calls on filters are told apart by the filter.
        if constexpr (std::is_same_v<Interface, IBaseFilter>) Note(noted, self->object->Name());
        [[maybe_unused]] const bool isOpaque = HasOpaqueNumbers(call);
        ((isOpaque ? DescribeOpaque(noted, arguments) : Describe(noted, arguments)), ...);
        (Clear(arguments), ...);
        return Call(call, noted, [&] {
            const RealAtWork atWork;
            const HRESULT hr = (static_cast<Interface*>(self->real)->*kMethod)(Real<Arguments>(arguments)...);
            if (SUCCEEDED(hr)) (Watch(arguments, self->object->Name().c_str()), ...);
            return hr;
        });
    }

    // The place of a virtual function in its table, which the compiler keeps in a pointer to it (plus one, in
    // bytes).
    static std::size_t Slot() {
        const auto method = kMethod;
        std::size_t offset = 0;
        std::memcpy(&offset, &method, sizeof offset);
        return (offset - 1) / sizeof(void*);
    }
};

HRESULT STDMETHODCALLTYPE FacetQueryInterface(Facet* self, REFIID iid, void** out);
ULONG STDMETHODCALLTYPE FacetAddRef(Facet* self);
ULONG STDMETHODCALLTYPE FacetRelease(Facet* self);

struct Method {
    const wchar_t* name;
    std::size_t slot;
    void* function;
    std::wstring* call;
};

template <typename Interface, auto kMethod>
Method MethodOf(const wchar_t* name) {
    using Forwarder = Forward<Interface, kMethod>;
    return {name, Forwarder::Slot(), reinterpret_cast<void*>(&Forwarder::Function), &Forwarder::call};
}

// The table of an interface all of whose methods are given.
InterfaceTable MakeTable(const IID& iid, const wchar_t* name, std::initializer_list<Method> methods);

}  // namespace kit::watch
