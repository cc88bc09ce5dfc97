// What the viewer knows without a window.
#include <doctest/doctest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

#include "model/camera_settings_file.h"
#include "model/command_line.h"
#include "model/fit.h"
#include "model/frame_meter.h"
#include "model/name_pattern.h"
#include "model/shot_plan.h"
#include "model/texts.h"
#include "model/view_settings.h"

#include <ocellus/cam.h>

using namespace camview;

namespace {

std::tm Moment() {
    std::tm moment = {};
    moment.tm_year = 126;
    moment.tm_mon = 10;
    moment.tm_mday = 22;
    moment.tm_hour = 9;
    moment.tm_min = 5;
    return moment;
}

// A file of this test's own, gone at its end.
struct TestFile {
    TestFile() {
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        path = std::wstring(folder) + L"camview-" + std::to_wstring(GetCurrentProcessId()) + L".ini";
    }
    ~TestFile() { DeleteFileW(path.c_str()); }
    void Write(const char* text) const { std::ofstream(path.c_str(), std::ios::binary) << text; }
    std::string Read() const {
        std::ostringstream text;
        text << std::ifstream(path.c_str(), std::ios::binary).rdbuf();
        return text.str();
    }
    std::wstring path;
};

}  // namespace

TEST_CASE("a pattern makes a file's name, or nothing when there can be no such file") {
    const struct {
        const wchar_t* pattern;
        const wchar_t* file;  // null: none
    } cases[] = {
        {L"a", L"X:\\a.jpg"},
        {L"%Y-%m-%d %H%M", L"X:\\2026-11-22 0905.jpg"},
        {L"100%%", L"X:\\100%.jpg"},
        {L"", nullptr},
        {L"%", nullptr},
        {L"%Q", nullptr},
        {L"a%", nullptr},
        {L"%H:%M", nullptr},
        {L"sub\\a", nullptr},
        {L"a?", nullptr},
        {L"a.", nullptr},
        {L"a ", nullptr},
        {L"con", nullptr},
        {L"LPT1.x", nullptr},
        {L"LPT0", L"X:\\LPT0.jpg"},
        {L"a\tb", nullptr},
    };
    for (const auto& one : cases) {
        CAPTURE(one.pattern);
        const auto file =
            NextFile(L"X:\\", one.pattern, Moment(), L".jpg", [](const auto&) { return false; });
        CHECK(file.has_value() == (one.file != nullptr));
        if (file && one.file) CHECK(*file == one.file);
    }
    CHECK_FALSE(
        NextFile(L"X:", std::wstring(300, L'a'), Moment(), L".jpg", [](const auto&) { return false; }));
    std::set<std::wstring> there = {L"X:\\a.jpg", L"X:\\a-2.jpg"};
    CHECK(*NextFile(L"X:", L"a", Moment(), L".jpg",
                    [&](const auto& file) { return there.count(file) > 0; }) == L"X:\\a-3.jpg");
}

TEST_CASE("pictures are taken one after another, and an interval keeps its beat") {
    ShotPlan plan;
    CHECK_FALSE(plan.Due(0));
    plan.Ask(2);
    CHECK(plan.Due(0));
    CHECK_FALSE(plan.Due(1));  // one is on its way
    plan.Done();
    CHECK(plan.Due(2));
    plan.Done();
    CHECK_FALSE(plan.Due(3));

    plan.StartInterval(1000, 100);
    CHECK(plan.Due(1000));
    CHECK_FALSE(plan.Due(1100));  // left out
    plan.Done();
    CHECK_FALSE(plan.Due(1150));
    CHECK(plan.Due(1201));
    plan.Done();
    CHECK(plan.LeftOut() == 1);
    CHECK(plan.Due(1555));  // three moments have passed, one picture is taken
    plan.Done();
    CHECK(plan.LeftOut() == 3);
    CHECK_FALSE(plan.Due(1599));
    plan.Ask(9);
    CHECK(plan.Due(1599));
    plan.Forget();
    CHECK(plan.Due(1600));  // the interval goes on
    plan.Done();
    plan.StopInterval();
    CHECK_FALSE(plan.Due(5000));
}

TEST_CASE("frames are counted, measured, and missed where the camera's rhythm has a gap") {
    FrameMeter meter;
    CHECK(meter.Silence(5) < 0);
    meter.Start(10);
    std::int64_t now = 0;
    for (int frame = 0; frame < 40; ++frame) meter.Note(now += 100'000 + (frame % 2 ? 60'000 : -60'000));
    CHECK(meter.Rate(now) == doctest::Approx(10).epsilon(0.07));
    CHECK(meter.Frames() == 40);
    CHECK(meter.Lost() == 0);  // uneven, but all there
    meter.Note(now += 400'000);
    CHECK(meter.Lost() == 3);
    CHECK(meter.Silence(now + 7) == 7);
    CHECK(meter.Rate(now + 4'000'000) == 0);
    meter.Start(0);
    for (int frame = 0; frame < 20; ++frame) meter.Note(now += frame * 100'000);
    CHECK(meter.Lost() == 0);  // no rate is known
}

TEST_CASE("a picture keeps its shape in every pane") {
    const struct {
        RECT pane;
        SIZE picture;
        Zoom zoom;
        RECT place;
    } cases[] = {
        {{0, 0, 640, 480}, {320, 240}, Zoom::Fit, {0, 0, 640, 480}},
        {{0, 0, 800, 480}, {640, 480}, Zoom::Fit, {80, 0, 720, 480}},
        {{0, 0, 640, 600}, {640, 480}, Zoom::Fit, {0, 60, 640, 540}},
        {{0, 0, 640, 480}, {320, 240}, Zoom::Original, {160, 120, 480, 360}},
        {{0, 0, 320, 240}, {640, 480}, Zoom::Original, {-160, -120, 480, 360}},
        {{0, 0, 0, 0}, {640, 480}, Zoom::Fit, {0, 0, 0, 0}},
        {{0, 0, 9, 9}, {0, 480}, Zoom::Fit, {0, 0, 9, 9}},
    };
    for (const auto& one : cases) {
        const RECT place = PlacePicture(one.pane, one.picture, one.zoom);
        CHECK(EqualRect(&place, &one.place));
    }
}

TEST_CASE("what the window remembers comes back; what is out of range or newer does no harm") {
    const TestFile file;
    ViewSettings settings;
    CHECK(ReadViewSettings(file.path, settings) == SettingsState::Fresh);
    settings.window = {-5, 10, 900, 700};
    settings.stamp = L"Ward \u00E4\n%H:%M \\n";
    settings.camera = L"\\\\?\\usb#vid";
    settings.zoom = Zoom::Original;
    settings.fontBold = false;
    settings.intervalMs = 1500;
    CHECK(WriteViewSettings(file.path, settings));
    ViewSettings back;
    CHECK(ReadViewSettings(file.path, back) == SettingsState::Read);
    CHECK(back.stamp == settings.stamp);
    CHECK(back.camera == settings.camera);
    CHECK(back.window.left == -5);
    CHECK(back.zoom == Zoom::Original);
    CHECK_FALSE(back.fontBold);
    CHECK(back.intervalMs == 1500);

    file.Write("version=1\nformat=99\nburst=0\nmode=two\ntab=3\nnonsense\n=\n");
    ViewSettings odd;
    CHECK(ReadViewSettings(file.path, odd) == SettingsState::Read);
    CHECK(odd.format == ViewSettings().format);
    CHECK(odd.burst == ViewSettings().burst);
    CHECK(odd.mode == 0);
    CHECK(odd.tab == 3);
    file.Write("version=2\ntab=4\n");
    CHECK(ReadViewSettings(file.path, odd) == SettingsState::Newer);
    CHECK(odd.tab == 4);
    CHECK_FALSE(WriteViewSettings(L"Q:\\no\\such.ini", settings));
}

TEST_CASE("a camera's settings are a file of the library's own kind") {
    const TestFile file;
    CHECK_FALSE(ReadCameraSettings(file.path));
    REQUIRE(WriteCameraSettings(file.path, {{CAM_PROPERTY_WHITE_BALANCE, 4000, true},
                                            {40, 7},
                                            {CAM_PROPERTY_ZOOM, 3},
                                            {kSavedResolution, 2},
                                            {CAM_PROPERTY_BRIGHTNESS, -4}}));
    CHECK(file.Read() ==
          "[Camera]\r\nVersion=1\r\nBrightness=-4\r\nResolution=2\r\nZoom=3\r\nWhiteBalance=4000\r\n"
          "WhiteBalanceAuto=1\r\nProperty40=7\r\n");
    const auto saved = ReadCameraSettings(file.path);
    REQUIRE(saved);
    REQUIRE(saved->properties.size() == 5);
    CHECK(saved->properties[1].id == kSavedResolution);
    CHECK(saved->properties[3].isAuto);
    CHECK(saved->properties[4].value == 7);
    file.Write("[Camera]\nVersion=3\nZoom=2\n[Else]\nGamma=4\n");
    const auto newer = ReadCameraSettings(file.path);
    CHECK(newer->version == 3);
    CHECK(newer->properties.size() == 1);
    file.Write("nothing of the kind");
    CHECK(ReadCameraSettings(file.path)->properties.empty());
}

TEST_CASE("the command line says which camera and what the kit plays, or what is wrong with it") {
    const CommandLine wanted =
        ParseCommandLine({L"--scene", L"C:\\a\\film.y4m", L"--exit-after", L"2"}).wanted;
    CHECK(wanted.scenario == L"{\"scene\":{\"film\":\"C:\\\\a\\\\film.y4m\"}}");
    CHECK(wanted.kit);
    CHECK(wanted.exitAfter == 2);
    CHECK(ParseCommandLine({L"--scene", L"page"}).wanted.type == CAM_TYPE_IMAGER);
    CHECK(ParseCommandLine({L"--settings", L"a.ini"}).wanted.section == L"Camera");
    CHECK_FALSE(ParseCommandLine({}).wanted.kit);
    for (const std::vector<std::wstring>& bad : {std::vector<std::wstring>{L"--nonsense"},
                                                 {L"--type", L"film"},
                                                 {L"--exit-after", L"soon"},
                                                 {L"--scene", L"chart", L"--scenario", L"{}"},
                                                 {L"file"}}) {
        const CommandLineAnswer answer = ParseCommandLine(bad);
        CHECK_FALSE(answer.goOn);
        CHECK(answer.exitCode == 2);
        CHECK(answer.text.starts_with("camview: "));
    }
    CHECK(ParseCommandLine({L"--help"}).exitCode == 0);
}

TEST_CASE("texts are filled in in their order") {
    CHECK(SayCount(Text::Still, Text::Stills, 0) == L"0 stills");
    CHECK(SayCount(Text::Still, Text::Stills, 1) == L"1 still");
    CHECK(SayCount(Text::ShowUnnamedOne, Text::ShowUnnamed, 1) == L"Show the property without a name");
    CHECK(SayProperty(CAM_PROPERTY_BACKLIGHT_COMPENSATION) == L"Backlight compensation");
    CHECK(SayProperty(CAM_PROPERTY_FOCUS_FIXED) == L"Focus fixed");
    CHECK(SayProperty(77) == L"Property 77");
    CHECK(Say(Text::FaultProperty, {L"Zoom {}", L"9", L"camFailed"}) ==
          L"Zoom {} could not be set to 9 (camFailed).");
    CHECK(SayPlainly(Text::Camera) == L"Camera");
}
