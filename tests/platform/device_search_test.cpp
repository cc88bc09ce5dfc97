#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "base/unique_resource.h"
#include "platform/platform.h"

using namespace cam::platform;

namespace {

constexpr GUID kCameraClass = {0xCB998A05, 0x122C, 0x4166, {0x84, 0x6A, 0x93, 0x3E, 0x4D, 0x7E, 0x3C, 0x86}};
constexpr wchar_t kCamera[] = L"{CB998A05-122C-4166-846A-933E4D7E3C86}";
constexpr wchar_t kOther[] = L"{00000000-1111-2222-3333-444444444444}";
constexpr wchar_t kDrivers[] = L"Drivers";
constexpr wchar_t kActive[] = L"Drivers\\Active";
constexpr wchar_t kSaved[] = L"Drivers\\ActiveSavedByTest";
constexpr wchar_t kDriverKeys[] = L"Drivers\\SearchTest";

// Takes the machine's active devices aside and puts them back; between, the list is this test's.
class ActiveDevices {
  public:
    ActiveDevices() {
        cam::UniqueRegistryKey drivers;
        RegCreateKeyW(HKEY_LOCAL_MACHINE, kDrivers, drivers.put());
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kSaved);
        Copy(kActive, kSaved);
        Clear();
    }
    ~ActiveDevices() {
        Clear();
        Copy(kSaved, kActive);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kSaved);
    }

    void Clear() {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kActive);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kDriverKeys);
    }

    // `classes` as the registry holds them: for a list, zeros between the strings.
    void Add(const wchar_t* number, const wchar_t* name, DWORD handle, DWORD type,
             const std::wstring& classes) {
        const std::wstring driver = std::wstring(kDriverKeys) + L"\\" + number;
        const std::wstring active = std::wstring(kActive) + L"\\" + number;
        Set(driver, L"IClass", type, classes.c_str(), (classes.size() + 1) * sizeof(wchar_t));
        Set(active, L"Key", REG_SZ, driver.c_str(), (driver.size() + 1) * sizeof(wchar_t));
        if (name) Set(active, L"Name", REG_SZ, name, (wcslen(name) + 1) * sizeof(wchar_t));
        if (handle) Set(active, L"Hnd", REG_DWORD, &handle, sizeof handle);
    }

  private:
    static void Set(const std::wstring& key, const wchar_t* value, DWORD type, const void* data,
                    size_t bytes) {
        REQUIRE(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), value, type, data,
                                static_cast<DWORD>(bytes)) == ERROR_SUCCESS);
    }
    static void Copy(const wchar_t* from, const wchar_t* to) {
        cam::UniqueRegistryKey source, target;
        if (RegOpenKeyW(HKEY_LOCAL_MACHINE, from, source.put()) != ERROR_SUCCESS) return;
        RegCreateKeyW(HKEY_LOCAL_MACHINE, to, target.put());
        RegCopyTreeW(source.get(), nullptr, target.get());
    }
};

struct Found {
    std::vector<std::wstring> names;
    std::vector<HANDLE> handles;
    DWORD lastError = 0;
};

Found Search() {
    Found found;
    DEVMGR_DEVICE_INFORMATION information = {};
    information.dwSize = sizeof information;
    const HANDLE search = FindFirstDevice(DeviceSearchByGuid, &kCameraClass, &information);
    for (BOOL more = search != nullptr; more; more = FindNextDevice(search, &information)) {
        found.names.push_back(information.szLegacyName);
        found.handles.push_back(information.hDevice);
    }
    found.lastError = GetLastError();
    if (search) CloseDeviceSearch(search);
    return found;
}

}  // namespace

TEST_CASE("the devices of a class are found in the order of their keys") {
    ActiveDevices devices;
    SUBCASE("none active") {
        const Found found = Search();
        CHECK(found.names.empty());
        CHECK(found.lastError == ERROR_NO_MORE_FILES);
    }
    SUBCASE("none of the class") {
        devices.Add(L"00", L"COM1:", 1, REG_SZ, kOther);
        const Found found = Search();
        CHECK(found.names.empty());
        CHECK(found.lastError == ERROR_NO_MORE_FILES);
    }
    SUBCASE("one class, a list of classes, a class with a name behind it; others between") {
        devices.Add(L"07", L"CAM3:", 9, REG_MULTI_SZ, std::wstring(kCamera) + L"=CAM3:" + L'\0');
        devices.Add(L"00", L"COM1:", 1, REG_SZ, kOther);
        devices.Add(L"03", L"CAM1:", 5, REG_SZ, kCamera);
        devices.Add(L"05", L"CAM2:", 7, REG_MULTI_SZ, std::wstring(kOther) + L'\0' + kCamera + L'\0');
        devices.Add(L"06", L"BAD1:", 8, REG_SZ, L"no class at all");
        const Found found = Search();
        CHECK(found.names == std::vector<std::wstring>{L"CAM1:", L"CAM2:", L"CAM3:"});
        CHECK(found.handles[1] == reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(7)));
        CHECK(found.lastError == ERROR_NO_MORE_FILES);
    }
    SUBCASE("a device that is not running has no handle, and a long name is cut to five characters") {
        devices.Add(L"00", L"CAMERA1:", 0, REG_SZ, kCamera);
        const Found found = Search();
        REQUIRE(found.names.size() == 1);
        CHECK(found.names[0] == L"CAMER");
        CHECK(found.handles[0] == nullptr);
    }
    SUBCASE("one that lost its name") {
        devices.Add(L"00", nullptr, 3, REG_SZ, kCamera);
        CHECK(Search().names == std::vector<std::wstring>{L""});
    }
}

TEST_CASE("a record of another size is refused") {
    DEVMGR_DEVICE_INFORMATION information = {};
    CHECK(FindFirstDevice(DeviceSearchByGuid, &kCameraClass, &information) == nullptr);
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
}
