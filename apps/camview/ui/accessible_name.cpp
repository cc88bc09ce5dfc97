#include "ui/accessible_name.h"

#include <commctrl.h>
#include <oleacc.h>

#include <atomic>
#include <utility>

#include "base/com_ptr.h"
#include "system_function.h"

namespace camview {

namespace {

// The system's object for the control, with another name.
class NamedControl final : public IAccessible {
  public:
    NamedControl(IAccessible* systems, std::wstring controlName)
        : inner(systems), name(std::move(controlName)) {}

    // ---- IUnknown; what is asked for beyond IAccessible is the inner object's.
    HRESULT WINAPI QueryInterface(REFIID wanted, void** object) override {
        if (wanted != __uuidof(IUnknown) && wanted != __uuidof(IDispatch) && wanted != __uuidof(IAccessible))
            return inner->QueryInterface(wanted, object);
        *object = this;
        AddRef();
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return ++references; }
    ULONG WINAPI Release() override {
        const ULONG left = --references;
        if (left == 0) delete this;
        return left;
    }

    // ---- IAccessible
    HRESULT WINAPI get_accName(VARIANT child, BSTR* told) override {
        if (child.vt != VT_I4 || child.lVal != CHILDID_SELF) return inner->get_accName(child, told);
        if (!told) return E_INVALIDARG;
        *told = SysAllocString(name.c_str());
        return *told ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT WINAPI get_accParent(IDispatch** parent) override { return inner->get_accParent(parent); }
    HRESULT WINAPI get_accChildCount(long* count) override { return inner->get_accChildCount(count); }
    HRESULT WINAPI get_accChild(VARIANT child, IDispatch** object) override {
        return inner->get_accChild(child, object);
    }
    HRESULT WINAPI get_accValue(VARIANT child, BSTR* value) override {
        return inner->get_accValue(child, value);
    }
    HRESULT WINAPI get_accDescription(VARIANT child, BSTR* text) override {
        return inner->get_accDescription(child, text);
    }
    HRESULT WINAPI get_accRole(VARIANT child, VARIANT* role) override {
        return inner->get_accRole(child, role);
    }
    HRESULT WINAPI get_accState(VARIANT child, VARIANT* state) override {
        return inner->get_accState(child, state);
    }
    HRESULT WINAPI get_accHelp(VARIANT child, BSTR* help) override { return inner->get_accHelp(child, help); }
    HRESULT WINAPI get_accHelpTopic(BSTR* file, VARIANT child, long* topic) override {
        return inner->get_accHelpTopic(file, child, topic);
    }
    HRESULT WINAPI get_accKeyboardShortcut(VARIANT child, BSTR* key) override {
        return inner->get_accKeyboardShortcut(child, key);
    }
    HRESULT WINAPI get_accFocus(VARIANT* child) override { return inner->get_accFocus(child); }
    HRESULT WINAPI get_accSelection(VARIANT* children) override { return inner->get_accSelection(children); }
    HRESULT WINAPI get_accDefaultAction(VARIANT child, BSTR* action) override {
        return inner->get_accDefaultAction(child, action);
    }
    HRESULT WINAPI accSelect(long how, VARIANT child) override { return inner->accSelect(how, child); }
    HRESULT WINAPI accLocation(long* left, long* top, long* width, long* height, VARIANT child) override {
        return inner->accLocation(left, top, width, height, child);
    }
    HRESULT WINAPI accNavigate(long direction, VARIANT start, VARIANT* end) override {
        return inner->accNavigate(direction, start, end);
    }
    HRESULT WINAPI accHitTest(long left, long top, VARIANT* child) override {
        return inner->accHitTest(left, top, child);
    }
    HRESULT WINAPI accDoDefaultAction(VARIANT child) override { return inner->accDoDefaultAction(child); }
    HRESULT WINAPI put_accName(VARIANT child, BSTR text) override { return inner->put_accName(child, text); }
    HRESULT WINAPI put_accValue(VARIANT child, BSTR text) override {
        return inner->put_accValue(child, text);
    }

    // ---- IDispatch
    HRESULT WINAPI GetTypeInfoCount(UINT* count) override { return inner->GetTypeInfoCount(count); }
    HRESULT WINAPI GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
        return inner->GetTypeInfo(index, locale, info);
    }
    HRESULT WINAPI GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override {
        return inner->GetIDsOfNames(id, names, count, locale, ids);
    }
    HRESULT WINAPI Invoke(DISPID member, REFIID id, LCID locale, WORD flags, DISPPARAMS* parameters,
                          VARIANT* result, EXCEPINFO* exception, UINT* argument) override {
        return inner->Invoke(member, id, locale, flags, parameters, result, exception, argument);
    }

  private:
    ~NamedControl() = default;

    const cam::ComPtr<IAccessible> inner;
    const std::wstring name;
    std::atomic<ULONG> references{1};
};

// The answer to WM_GETOBJECT. The library of screen readers is loaded when the first of them asks.
LRESULT Describe(HWND control, WPARAM wParam, const std::wstring& name) {
    static const HRESULT initialised = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    static_cast<void>(initialised);
    using CreateStandard = HRESULT(WINAPI*)(HWND, LONG, REFIID, void**);
    using AsResult = LRESULT(WINAPI*)(REFIID, WPARAM, IUnknown*);
    const auto create = SystemFunction<CreateStandard>(L"oleacc.dll", "CreateStdAccessibleObject");
    const auto asResult = SystemFunction<AsResult>(L"oleacc.dll", "LresultFromObject");
    cam::ComPtr<IAccessible> systems;
    if (!create || !asResult ||
        FAILED(create(control, OBJID_CLIENT, __uuidof(IAccessible), systems.putVoid())))
        return 0;
    cam::ComPtr<IAccessible> named;
    named.attach(new NamedControl(systems.get(), name));
    return asResult(__uuidof(IAccessible), wParam, named.get());
}

constexpr UINT_PTR kSubclass = 1;

LRESULT CALLBACK Procedure(HWND control, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                           DWORD_PTR name) {
    const auto* const text = reinterpret_cast<const std::wstring*>(name);
    if (message == WM_GETOBJECT && static_cast<LONG>(lParam) == OBJID_CLIENT) {
        if (const LRESULT described = Describe(control, wParam, *text)) return described;
    }
    if (message == WM_NCDESTROY) {
        RemoveWindowSubclass(control, Procedure, kSubclass);
        delete text;
    }
    return DefSubclassProc(control, message, wParam, lParam);
}

}  // namespace

void GiveAccessibleName(HWND control, const std::wstring& name) {
    // Freed with the control.
    SetWindowSubclass(control, Procedure, kSubclass, reinterpret_cast<DWORD_PTR>(new std::wstring(name)));
}

}  // namespace camview
