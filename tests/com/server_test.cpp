// The built DLL as COM and the registration tool see it.
#include <doctest/doctest.h>

#include <windows.h>
#include <objbase.h>
#include <strmif.h>

#include <string>
#include <thread>

#include "base/com_ptr.h"
#include "base/unique_resource.h"
#include "still/filter_interfaces.h"

using namespace cam;

namespace {
constexpr wchar_t kTestRoot[] = L"Software\\OcellusServerTest";

struct Library {
    UniqueLibrary module{LoadLibraryW(L"ocellus.dll")};

    Library() { REQUIRE(module); }
    HRESULT Call(const char* name) const {
        void* function = reinterpret_cast<void*>(GetProcAddress(module.get(), name));
        REQUIRE(function);
        return reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(function)();
    }
    std::wstring Path() const {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(module.get(), path, MAX_PATH);
        return path;
    }
};

// This process's HKEY_CLASSES_ROOT is another key meanwhile: other programs keep what is registered.
struct OwnClassesRoot {
    UniqueRegistryKey key;

    OwnClassesRoot() {
        RegDeleteTreeW(HKEY_CURRENT_USER, kTestRoot);
        REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, kTestRoot, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                key.put(), nullptr) == ERROR_SUCCESS);
        REQUIRE(RegOverridePredefKey(HKEY_CLASSES_ROOT, key.get()) == ERROR_SUCCESS);
    }
    ~OwnClassesRoot() {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        key.reset();
        RegDeleteTreeW(HKEY_CURRENT_USER, kTestRoot);
    }
};

// What a thread's apartment is; -1: none.
int Apartment() {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier)) && qualifier != APTTYPEQUALIFIER_IMPLICIT_MTA
               ? type
               : -1;
}
}  // namespace

TEST_CASE("the DLL registers itself under its own path, and unregisters") {
    const Library library;
    const OwnClassesRoot root;
    constexpr wchar_t kServer[] = L"CLSID\\{BCEED521-A101-45A9-8B7D-1583466FD57C}\\InprocServer32";
    REQUIRE(library.Call("DllRegisterServer") == S_OK);
    wchar_t path[MAX_PATH] = {};
    DWORD bytes = sizeof path;
    REQUIRE(RegGetValueW(root.key.get(), kServer, nullptr, RRF_RT_REG_SZ, nullptr, path, &bytes) ==
            ERROR_SUCCESS);
    CHECK(path == library.Path());
    CHECK(library.Call("DllUnregisterServer") == S_OK);
    DWORD classes = 9;
    UniqueRegistryKey key;
    REQUIRE(RegOpenKeyExW(root.key.get(), L"CLSID", 0, KEY_READ, key.put()) == ERROR_SUCCESS);
    RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, &classes, nullptr, nullptr, nullptr, nullptr,
                     nullptr, nullptr, nullptr);
    CHECK(classes == 0);
}

TEST_CASE("registered, both filters are created by their class identifiers") {
    const Library library;
    REQUIRE(library.Call("DllRegisterServer") == S_OK);  // as it is already; it stays so
    CHECK(library.Call("DllCanUnloadNow") == S_OK);
    {
        ComPtr<ISampleGrabberControl> grabber;
        CHECK(CoCreateInstance(kClsidSampleGrabber, nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(ISampleGrabberControl), grabber.putVoid()) == S_OK);
        ComPtr<IStillImageSinkControl> sink;
        CHECK(CoCreateInstance(kClsidStillImageSink, nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(IStillImageSinkControl), sink.putVoid()) == S_OK);
        CHECK(library.Call("DllCanUnloadNow") == S_FALSE);
    }
    CHECK(library.Call("DllCanUnloadNow") == S_OK);
    // COM lets go of it at once, as the tests below load it anew: noted as unused first, then freed.
    CoFreeUnusedLibrariesEx(0, 0);
    CoFreeUnusedLibrariesEx(0, 0);
}

TEST_CASE("the DLL enters COM for the thread that loads it and leaves it again") {
    struct Row {
        std::string what;
        bool entered;
        DWORD model;
        int before, during, after;
    };
    for (const Row& row : {
             Row{"no apartment yet", false, 0, -1, APTTYPE_MTA, -1},
             Row{"multithreaded", true, COINIT_MULTITHREADED, APTTYPE_MTA, APTTYPE_MTA, APTTYPE_MTA},
             Row{"single-threaded", true, COINIT_APARTMENTTHREADED, APTTYPE_STA, APTTYPE_STA, APTTYPE_STA},
         }) {
        CAPTURE(row.what);
        REQUIRE_FALSE(GetModuleHandleW(L"ocellus.dll"));
        int before = 0, during = 0, after = 0;
        bool unloaded = false;
        std::thread([&] {
            if (row.entered) CoInitializeEx(nullptr, row.model);
            before = Apartment();
            HMODULE module = LoadLibraryW(L"ocellus.dll");
            during = Apartment();
            FreeLibrary(module);
            unloaded = !GetModuleHandleW(L"ocellus.dll");
            after = Apartment();
            if (row.entered) CoUninitialize();
        }).join();
        CHECK(unloaded);
        if (row.before == APTTYPE_STA) {
            // The first single-threaded apartment of a process is its main one.
            CHECK((before == APTTYPE_STA || before == APTTYPE_MAINSTA));
            CHECK(during == before);
            CHECK(after == before);
            continue;
        }
        CHECK(before == row.before);
        CHECK(during == row.during);
        CHECK(after == row.after);
    }
}

TEST_CASE("unloading on another thread takes nothing away from it") {
    HMODULE module = nullptr;
    std::thread([&] { module = LoadLibraryW(L"ocellus.dll"); }).join();
    REQUIRE(module);
    int after = -1;
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        FreeLibrary(module);
        after = Apartment();
        CoUninitialize();
    }).join();
    CHECK(after == APTTYPE_MTA);
}
