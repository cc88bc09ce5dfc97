#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "base/unique_resource.h"
#include "com/library_classes.h"
#include "com/registration.h"
#include "still/filter_interfaces.h"

using namespace cam;

namespace {
constexpr wchar_t kTestRoot[] = L"Software\\OcellusRegistrationTest";
constexpr wchar_t kGrabber[] = L"CLSID\\{B62F694E-0593-4E60-AA1C-16AF6496AC39}";
constexpr wchar_t kSink[] = L"CLSID\\{BCEED521-A101-45A9-8B7D-1583466FD57C}";

// Stands for HKEY_CLASSES_ROOT.
struct Root {
    UniqueRegistryKey key;

    Root() {
        RegDeleteTreeW(HKEY_CURRENT_USER, kTestRoot);
        REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, kTestRoot, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                key.put(), nullptr) == ERROR_SUCCESS);
    }
    ~Root() {
        key.reset();
        RegDeleteTreeW(HKEY_CURRENT_USER, kTestRoot);
    }
    bool Has(const std::wstring& path) const {
        UniqueRegistryKey out;
        return RegOpenKeyExW(key.get(), path.c_str(), 0, KEY_READ, out.put()) == ERROR_SUCCESS;
    }
    std::wstring Text(const std::wstring& path, const wchar_t* name) const {
        wchar_t text[300] = {};
        DWORD bytes = sizeof text;
        const LONG error = RegGetValueW(key.get(), path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
        return error == ERROR_SUCCESS ? text : L"(none)";
    }
};
}  // namespace

TEST_CASE("registration writes what COM looks for and takes all of it away again") {
    const Root root;
    const std::wstring path = L"C:\\some folder\\library.dll";
    for (int round = 0; round < 2; ++round) {  // registering once more changes nothing
        REQUIRE(com::RegisterClasses(root.key.get(), path.c_str(), com::LibraryClasses()) == S_OK);
        for (const std::wstring key : {kGrabber, kSink}) {
            CHECK(root.Text(key + L"\\InprocServer32", nullptr) == path);
            CHECK(root.Text(key + L"\\InprocServer32", L"ThreadingModel") == L"Both");
        }
        CHECK(root.Text(kGrabber, nullptr) == L"SampleGrabber");
        CHECK(root.Text(kSink, nullptr) == L"StillImageSink");
    }
    for (int round = 0; round < 2; ++round) {
        CHECK(com::UnregisterClasses(root.key.get(), com::LibraryClasses()) == S_OK);
        CHECK_FALSE(root.Has(kGrabber));
        CHECK_FALSE(root.Has(kSink));
    }
}

namespace {
void CheckFailedRegistration(const Root& root) {
    // Below a volatile key no lasting one can be made, so the second class gets no server key.
    UniqueRegistryKey obstacle;
    UniqueRegistryKey classes;
    REQUIRE(RegCreateKeyExW(root.key.get(), L"CLSID", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, classes.put(),
                            nullptr) == ERROR_SUCCESS);
    REQUIRE(RegCreateKeyExW(classes.get(), kSink + 6, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                            nullptr, obstacle.put(), nullptr) == ERROR_SUCCESS);
    obstacle.reset();
    CHECK(com::RegisterClasses(root.key.get(), L"C:\\library.dll", com::LibraryClasses()) ==
          static_cast<HRESULT>(0x80070000 | ERROR_CHILD_MUST_BE_VOLATILE));
}
}  // namespace

TEST_CASE("a registration that fails half-way leaves everything as it was") {
    const Root root;
    for (const bool isOlder : {false, true}) {
        CAPTURE(isOlder);
        if (isOlder)
            REQUIRE(com::RegisterClasses(root.key.get(), L"C:\\old.dll", com::LibraryClasses().first(1)) ==
                    S_OK);
        CheckFailedRegistration(root);
        CHECK(root.Has(kGrabber) == isOlder);
        const std::wstring server = std::wstring(kGrabber) + L"\\InprocServer32";
        CHECK(root.Text(server, nullptr) == (isOlder ? L"C:\\old.dll" : L"(none)"));
        CHECK(root.Text(server, L"ThreadingModel") == (isOlder ? L"Both" : L"(none)"));
        CHECK(root.Has(kSink));  // the obstacle
        CHECK(root.Text(kSink, nullptr) == L"(none)");
    }
}

TEST_CASE("a class that cannot be removed does not keep the others") {
    const Root root;
    REQUIRE(com::RegisterClasses(root.key.get(), L"C:\\library.dll", com::LibraryClasses()) == S_OK);
    // A key of somebody else's below the first class.
    UniqueRegistryKey foreign;
    REQUIRE(RegCreateKeyExW(root.key.get(), (std::wstring(kGrabber) + L"\\Foreign").c_str(), 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, foreign.put(), nullptr) == ERROR_SUCCESS);
    CHECK(FAILED(com::UnregisterClasses(root.key.get(), com::LibraryClasses())));
    CHECK_FALSE(root.Has(std::wstring(kGrabber) + L"\\InprocServer32"));
    CHECK_FALSE(root.Has(kSink));
}
