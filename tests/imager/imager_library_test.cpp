// The device kit's imager library by its ordinals: what the camera never asks of it, and its scenarios.
#include "imager_camera/imager_library.h"

#include <doctest/doctest.h>

#include "kit.h"

namespace {

// A library that is open, with an engine that acquires.
struct Engine {
    Engine() {
        imvKitReset();
        REQUIRE(library.Load() == S_OK);
        DWORD word = 0;
        cam::ImagerOpenRecord record = {};
        REQUIRE(library->open(nullptr, nullptr, &word, &record) == 0);
        engine = library->openEngine();
        REQUIRE(engine != nullptr);
        REQUIRE(library->start() == 0);
    }
    ~Engine() { library->shutdown(); }

    cam::ImagerLibrary library;
    HANDLE engine = nullptr;
};

// The files are judged by other programs afterwards.
TEST_CASE_FIXTURE(Engine, "pictures are saved in three formats") {
    kit::Load(L"{\"scene\": \"page\"}");
    REQUIRE(library->acquire(engine, 2) == 0);
    CHECK(library->saveBmp(engine, L"page.bmp") == 0);
    CHECK(library->savePng(engine, L"page.png") == 0);
    CHECK(library->saveJpeg(engine, L"page.jpg", 75) == 0);
    for (const wchar_t* bad : {L"missing-folder\\page", L"bad|name"}) {
        CHECK(library->saveBmp(engine, bad) != 0);
        CHECK(library->savePng(engine, bad) != 0);
        CHECK(library->saveJpeg(engine, bad, 75) != 0);
    }
    CHECK(library->saveBmp(engine, nullptr) != 0);
}

TEST_CASE_FIXTURE(Engine, "operations out of their order are refused") {
    CHECK(library->firstDimension(engine) == 0);  // no image yet
    CHECK(library->pixels(engine) == nullptr);
    CHECK(library->saveBmp(engine, L"never.bmp") != 0);
    CHECK(library->acquire(engine, 1) != 0);
    CHECK(library->acquire(nullptr, 3) != 0);
    library->stop();
    CHECK(library->acquire(engine, 3) != 0);
    CHECK(library->closeEngine(engine) == 0);
    CHECK(library->closeEngine(engine) != 0);
    CHECK(library->start() != 0);
    library->shutdown();
    CHECK(library->openEngine() == nullptr);
}

TEST_CASE_FIXTURE(Engine,
                  "rules name an operation or its ordinal, and the program's own answer goes before them") {
    kit::LoadCalls(
        LR"({"Acquire": {"at": 2, "result": "0x80004005"}, "81 2": {"result": 9}, "108": {"delayMs": 100}})");
    const std::pair<DWORD, DWORD> expected[] = {{3, 0}, {3, 0x80004005}, {2, 9}, {2, 7}, {2, 0}};
    for (const auto& [mode, result] : expected) {
        if (result == 7) CHECK(imvKitAnswerNext(L"81 2", 7));
        CHECK(library->acquire(engine, mode) == result);
    }
    CHECK(imvKitCallCount(L"81") == 5);
    CHECK(imvKitCallCount(L"Acquire 2") == 3);
    CHECK(imvKitCallCount(L"acquire") == -1);
    CHECK_FALSE(imvKitAnswerNext(L"82", 7));
    const DWORD start = GetTickCount();
    CHECK(library->firstDimensionOf0() == 240);
    CHECK(GetTickCount() - start >= 80);
}

TEST_CASE("a scenario that cannot be used changes nothing, and says what is wrong with it") {
    imvKitReset();
    kit::LoadCalls(L"{\"Open\": {\"result\": 1}}");
    for (const auto& [scenario, named] : {
             std::pair<const wchar_t*, const char*>{L"{", "JSON"},
             {L"missing.json", "missing.json"},
             {L"{\"imager\": 5}", "\"imager\" is 5"},
             {L"{\"imager\": {\"scene\": \"moon\"}}", "\"imager.scene\" is \"moon\""},
             {L"{\"imager\": {\"sceen\": \"page\"}}", "imager.sceen"},
             {L"{\"imager\": {\"calls\": {\"Fly\": {\"result\": 1}}}}", "imager.calls.Fly"},
             {L"{\"imager\": {\"calls\": {\"82\": {\"result\": 1}}}}", "imager.calls.82"},
             {L"{\"imager\": {\"calls\": {\"Open\": {\"result\": \"five\"}}}}", "imager.calls.Open.result"},
         }) {
        CAPTURE(named);
        wchar_t error[300] = L"";
        CHECK_FALSE(imvKitLoadScenario(scenario, error, 300));
        CHECK(kit::Narrow(error).find(named) != std::string::npos);
    }
    CHECK_FALSE(imvKitLoadScenario(L"{", nullptr, 0));
    cam::ImagerLibrary library;
    REQUIRE(library.Load() == S_OK);
    DWORD word = 0;
    cam::ImagerOpenRecord record = {};
    CHECK(library->open(nullptr, nullptr, &word, &record) == 1);
}

TEST_CASE("the environment's scenario counts when none was given") {
    imvKitReset();
    SetEnvironmentVariableW(L"DEVICEKIT_SCENARIO",
                            L"{\"devices\": [], \"imager\": {\"calls\": {\"32\": {\"result\": 77}}}}");
    cam::ImagerLibrary library;
    REQUIRE(library.Load() == S_OK);
    DWORD word = 0;
    cam::ImagerOpenRecord record = {};
    CHECK(library->open(nullptr, nullptr, &word, &record) == 77);
    kit::Load(L"{}");
    CHECK(library->open(nullptr, nullptr, &word, &record) == 0);
    imvKitReset();
    SetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", L"{\"imager\": 1}");
    CHECK(library->open(nullptr, nullptr, &word, &record) != 0);
    SetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", nullptr);
    library->shutdown();
}

}  // namespace
