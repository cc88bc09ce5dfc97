#include <doctest/doctest.h>

#include <cstdio>
#include <string>

#include "platform/platform.h"

TEST_CASE("without anybody in front a message box is recorded and answered") {
    wchar_t folder[MAX_PATH], path[MAX_PATH];
    REQUIRE(GetTempPathW(MAX_PATH, folder));
    REQUIRE(GetTempFileNameW(folder, L"box", 0, path));
    SetEnvironmentVariableW(L"OCELLUS_HEADLESS", L"1");
    SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", path);
    CHECK(cam::platform::ShowMessageBox(nullptr, L"a \u00E4", L"First", MB_ICONERROR) == IDOK);
    CHECK(cam::platform::ShowMessageBox(nullptr, L"b", L"Second", 0) == IDOK);
    SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", nullptr);
    CHECK(cam::platform::ShowMessageBox(nullptr, L"c", L"Third", 0) == IDOK);

    char text[100] = {};
    FILE* file = _wfopen(path, L"rb");
    REQUIRE(file);
    fread(text, 1, sizeof text - 1, file);
    fclose(file);
    DeleteFileW(path);
    CHECK(std::string(text) == "First\ta \xC3\xA4\nSecond\tb\n");
}
