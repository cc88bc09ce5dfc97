// The library as COM and the registration tool see it.
#include <windows.h>
#include <objbase.h>
#include <strmif.h>

#include <vector>

#include "camera.h"
#include "check.h"
#include "files.h"
#include "platform.h"

namespace verify {

namespace {

constexpr CLSID kGrabber = {0xB62F694E, 0x0593, 0x4E60, {0xAA, 0x1C, 0x16, 0xAF, 0x64, 0x96, 0xAC, 0x39}};
constexpr CLSID kSink = {0xBCEED521, 0xA101, 0x45A9, {0x8B, 0x7D, 0x15, 0x83, 0x46, 0x6F, 0xD5, 0x7C}};
constexpr IID kGrabberControl = {
    0x00BE5B5E, 0xCCA0, 0x4A9F, {0xB1, 0x98, 0xDF, 0x2F, 0xAC, 0xE8, 0x2D, 0x57}};
constexpr IID kSinkControl = {0xB587032B, 0xB600, 0x430E, {0x8D, 0xE1, 0x4E, 0xCE, 0x44, 0xB5, 0xB3, 0x00}};

struct FilterClass {
    const char* name;
    CLSID id;
    IID control;
    const wchar_t* key;
};
const FilterClass kFilters[] = {
    {"SampleGrabber", kGrabber, kGrabberControl, L"CLSID\\{B62F694E-0593-4E60-AA1C-16AF6496AC39}"},
    {"StillImageSink", kSink, kSinkControl, L"CLSID\\{BCEED521-A101-45A9-8B7D-1583466FD57C}"}};

// Empty when there is no such value.
std::wstring RegistryText(const std::wstring& path, const wchar_t* name) {
    HKEY key = nullptr;
    wchar_t text[MAX_PATH + 1] = {};
    DWORD bytes = MAX_PATH * sizeof(wchar_t);
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    if (RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &bytes) != ERROR_SUCCESS)
        *text = 0;
    RegCloseKey(key);
    return text;
}

// Without regard to case, and to the short names that the system may have put in.
bool SamePath(const std::wstring& one, const std::wstring& other) {
    return lstrcmpiW(one.c_str(), other.c_str()) == 0;
}

struct ApartmentCase {
    const char* name;
    bool entered;
    DWORD model;
    char before, during, after;
    std::wstring path;
    bool unloaded;
};

DWORD WINAPI LoadAndUnload(void* parameter) {
    auto& one = *static_cast<ApartmentCase*>(parameter);
    if (one.entered) CoInitializeEx(nullptr, one.model);
    const char before = platform::Apartment();
    const HMODULE module = LoadLibraryW(one.path.c_str());
    const char during = platform::Apartment();
    FreeLibrary(module);
    one.unloaded = !GetModuleHandleW(L"ocellus.dll");
    one.after = platform::Apartment();
    one.before = before;
    one.during = during;
    if (one.entered) CoUninitialize();
    return 0;
}

DWORD WINAPI UnloadHere(void* module) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    FreeLibrary(static_cast<HMODULE>(module));
    const char after = platform::Apartment();
    CoUninitialize();
    return static_cast<DWORD>(after);
}

DWORD WINAPI LoadHere(void* path) {
    *static_cast<HMODULE*>(path) = LoadLibraryW(cam.Path().c_str());
    return 0;
}

DWORD OnThread(LPTHREAD_START_ROUTINE routine, void* parameter) {
    DWORD result = 0;
    const HANDLE thread = CreateThread(nullptr, 0, routine, parameter, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    GetExitCodeThread(thread, &result);
    CloseHandle(thread);
    return result;
}

void Loading() {
    const std::wstring path = cam.Path();
    platform::FreeUnusedLibraries();
    cam.Unload();
    if (GetModuleHandleW(L"ocellus.dll")) {
        cam.Load(path);
        Skip("something else has loaded the library");
    }
    ApartmentCase cases[] = {{"no apartment yet", false, 0, '-', 'M', '-', path, false},
                             {"multithreaded", true, COINIT_MULTITHREADED, 'M', 'M', 'M', path, false},
                             {"single-threaded", true, COINIT_APARTMENTTHREADED, 'S', 'S', 'S', path, false}};
    for (ApartmentCase& one : cases) {
        const Row row(one.name);
        const std::string expected = {one.before, one.during, one.after};
        OnThread(LoadAndUnload, &one);
        Equal("apartment before, while the library is loaded, and after",
              std::string{one.before, one.during, one.after}, expected);
        Holds("the library is unloaded", one.unloaded);
    }
    Need("the library can be loaded again", cam.Load(path), DWORD{0});
    // Another thread than the one that loaded it lets go of it last.
    HMODULE module = nullptr;
    OnThread(LoadHere, &module);
    Equal("apartment of a thread that unloads what another has loaded",
          static_cast<char>(OnThread(UnloadHere, module)), 'M');
}

void Registered() {
    for (const FilterClass& filter : kFilters) {
        const Row row(filter.name);
        const std::wstring path = RegistryText(std::wstring(filter.key) + L"\\InprocServer32", nullptr);
        if (!SamePath(path, cam.Path()))
            Failed("the library that is registered", Utf8(path), Utf8(cam.Path()));
    }
}

void ClassObjects() {
    platform::FreeUnusedLibraries();
    Equal("the library may go", cam.CanUnloadNow(), HRESULT{S_OK});
    void* out = &out;
    Equal("no place for the object", cam.GetClassObject(kGrabber, __uuidof(IClassFactory), nullptr),
          HRESULT{E_POINTER});
    Equal("a class of others", cam.GetClassObject(CLSID{}, __uuidof(IClassFactory), &out),
          HRESULT{CLASS_E_CLASSNOTAVAILABLE});
    Holds("the place is cleared", out == nullptr);
    out = &out;
    Equal("an interface that it lacks", cam.GetClassObject(kGrabber, __uuidof(IBaseFilter), &out),
          HRESULT{E_NOINTERFACE});
    Holds("the place is cleared", out == nullptr);

    IClassFactory* factory = nullptr;
    Need("a class object",
         cam.GetClassObject(kSink, __uuidof(IClassFactory), reinterpret_cast<void**>(&factory)),
         HRESULT{S_OK});
    Equal("it keeps the library", cam.CanUnloadNow(), HRESULT{S_FALSE});
    void* none = &none;
    Equal("no place for the filter", factory->CreateInstance(nullptr, __uuidof(IBaseFilter), nullptr),
          HRESULT{E_POINTER});
    Equal("as what it is not", factory->CreateInstance(nullptr, __uuidof(IClassFactory), &none),
          HRESULT{E_NOINTERFACE});
    Holds("the place is cleared", none == nullptr);
    Equal("locked", factory->LockServer(TRUE), HRESULT{S_OK});
    Equal("locked twice", factory->LockServer(TRUE), HRESULT{S_OK});
    Equal("unlocked once", factory->LockServer(FALSE), HRESULT{S_OK});
    factory->Release();
    Equal("a lock keeps the library", cam.CanUnloadNow(), HRESULT{S_FALSE});
    Need("a class object",
         cam.GetClassObject(kSink, __uuidof(IClassFactory), reinterpret_cast<void**>(&factory)),
         HRESULT{S_OK});
    factory->LockServer(FALSE);
    factory->Release();
    Equal("the library may go", cam.CanUnloadNow(), HRESULT{S_OK});
}

// Stands for an application's object that a filter is made part of.
class Outer final : public IUnknown {
  public:
    LONG references = 1;
    IUnknown* inner = nullptr;

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        if (!IsEqualIID(id, __uuidof(IUnknown))) return inner->QueryInterface(id, out);
        *out = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
};

void Filters() {
    for (const FilterClass& one : kFilters) {
        const Row row(one.name);
        IBaseFilter* filter = nullptr;
        Need("the filter is created by its class identifier",
             CoCreateInstance(one.id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IBaseFilter),
                              reinterpret_cast<void**>(&filter)),
             HRESULT{S_OK});
        CLSID id = {};
        Equal("it says its class", filter->GetClassID(&id), HRESULT{S_OK});
        Holds("that is the one asked for", IsEqualGUID(id, one.id) != 0);
        IUnknown* control = nullptr;
        Equal("its control interface",
              filter->QueryInterface(one.control, reinterpret_cast<void**>(&control)), HRESULT{S_OK});
        if (control) Equal("references after the control's release", control->Release(), ULONG{1});
        IEnumPins* pins = nullptr;
        Equal("its pins", filter->EnumPins(&pins), HRESULT{S_OK});
        IPin* pin = nullptr;
        int count = 0;
        for (; pins && pins->Next(1, &pin, nullptr) == S_OK; ++count) pin->Release();
        if (pins) pins->Release();
        Equal("number of pins", count, IsEqualGUID(one.id, kGrabber) ? 2 : 1);
        Equal("it keeps the library", cam.CanUnloadNow(), HRESULT{S_FALSE});
        Equal("references that stay", filter->Release(), ULONG{0});

        Outer outer;
        void* none = &none;
        Equal("part of another object, asked for more than IUnknown",
              CoCreateInstance(one.id, &outer, CLSCTX_INPROC_SERVER, __uuidof(IBaseFilter), &none),
              HRESULT{E_NOINTERFACE});
        Need("part of another object",
             CoCreateInstance(one.id, &outer, CLSCTX_INPROC_SERVER, __uuidof(IUnknown),
                              reinterpret_cast<void**>(&outer.inner)),
             HRESULT{S_OK});
        Equal("references to the whole", outer.references, LONG{1});
        Equal("the part's control", outer.QueryInterface(one.control, reinterpret_cast<void**>(&control)),
              HRESULT{S_OK});
        Equal("references to the whole", outer.references, LONG{2});
        IUnknown* identity = nullptr;
        control->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void**>(&identity));
        Holds("the whole is its identity", identity == &outer);
        if (identity) identity->Release();
        control->Release();
        outer.inner->Release();
    }
    Equal("the library may go", cam.CanUnloadNow(), HRESULT{S_OK});
}

void Registration() {
    const platform::OwnClasses own;
    for (int round = 0; round < 2; ++round) {
        const Row row("round " + std::to_string(round + 1));
        for (int again = 0; again < 2; ++again) Need("registered", cam.RegisterServer(), HRESULT{S_OK});
        for (const FilterClass& filter : kFilters) {
            const std::wstring key = filter.key, server = key + L"\\InprocServer32";
            Equal("name", Utf8(RegistryText(key, nullptr)), std::string(filter.name));
            Holds("path", SamePath(RegistryText(server, nullptr), cam.Path()));
            Equal("threading model", Utf8(RegistryText(server, L"ThreadingModel")), std::string("Both"));
        }
        for (int again = 0; again < 2; ++again) Equal("unregistered", cam.UnregisterServer(), HRESULT{S_OK});
        for (const FilterClass& filter : kFilters) {
            Equal("name, when it is gone", Utf8(RegistryText(filter.key, nullptr)), std::string());
        }
    }
}

// A copy of the library below folders whose names together are longer than a path that COM reads may be.
class FarLibrary {
  public:
    FarLibrary() {
        const std::wstring part(100, L'f');
        folders.push_back(L"\\\\?\\" + WorkFolder() + part);
        while (folders.size() < 3) folders.push_back(folders.back() + L"\\" + part);
        for (const std::wstring& folder : folders) CreateDirectoryW(folder.c_str(), nullptr);
        path = folders.back() + L"\\ocellus.dll";
        if (CopyFileW(cam.Path().c_str(), path.c_str(), FALSE)) module = LoadLibraryW(path.c_str());
    }
    ~FarLibrary() {
        if (module) FreeLibrary(module);
        DeleteFileW(path.c_str());
        while (!folders.empty()) {
            RemoveDirectoryW(folders.back().c_str());
            folders.pop_back();
        }
    }
    FarLibrary(const FarLibrary&) = delete;
    FarLibrary& operator=(const FarLibrary&) = delete;

    HMODULE Module() const { return module; }

  private:
    std::vector<std::wstring> folders;
    std::wstring path;
    HMODULE module = nullptr;
};

void TooFar() {
    const platform::OwnClasses own;
    Need("registered", cam.RegisterServer(), HRESULT{S_OK});
    {
        const FarLibrary copy;
        if (!copy.Module()) Skip("this system loads no library from a path longer than MAX_PATH");
        using Register = HRESULT(WINAPI*)();
        const auto registerServer = reinterpret_cast<Register>(
            reinterpret_cast<void*>(GetProcAddress(copy.Module(), "DllRegisterServer")));
        Equal("a path that is too long", registerServer(),
              static_cast<HRESULT>(HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE)));
    }
    for (const FilterClass& filter : kFilters) {
        const std::wstring server = std::wstring(filter.key) + L"\\InprocServer32";
        Holds("the registration stays what it was", SamePath(RegistryText(server, nullptr), cam.Path()));
    }
}

constexpr char kReinstall[] = "register ocellus.dll where it stands now (regsvr32, or DllRegisterServer)";
constexpr Check kChecks[] = {
    {"the library enters COM for the thread that loads it, and leaves it", kDesktop, Loading, kLibraryFault},
    {"the filters are registered for this very library", kNothing, Registered, kReinstall},
    {"class objects are found by class, and keep the library", kNothing, ClassObjects, kLibraryFault},
    {"both filters are created, alone and as part of another object", kNothing, Filters, kReinstall},
    {"registration writes what COM looks for and takes all of it away", kNothing, Registration,
     "run it with the right to write HKEY_CLASSES_ROOT; else a fault of the library"},
    {"a library that stands too deep for COM is not registered", kDesktop, TooFar, kLibraryFault},
};

}  // namespace

const Group kRegistration = {"registration", "what COM and the registration tool find", kChecks};

}  // namespace verify
