// The engine that counts, lists, fails and delays calls, and the JSON form of its rules.
#include "rules/call_rules.h"

#include <doctest/doctest.h>

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "rules/read_call_rules.h"

namespace {

using namespace kit;
using Lines = std::vector<std::string>;

constexpr std::uint32_t kResult = 0x80041234, kOther = 7;

std::optional<std::string> FindOpen(const std::string& call) {
    if (call == "Open" || call == "Open 3") return call;
    return call == "32" ? std::optional<std::string>("Open") : std::nullopt;
}

std::vector<CallRule> Read(const char* json, bool hresults = false) {
    const CallForm form = {"{}", "no such call", FindOpen, hresults ? ReadHresult : ReadStatus};
    return ReadCallRules("calls", nlohmann::json::parse(json), form);
}

}  // namespace

TEST_CASE(
    "a rule acts at its count, as often as it says; of several the first result counts, and all delays") {
    struct Case {
        const char* what;
        std::vector<CallRule> rules;
        std::vector<std::uint32_t> results;  // of "Open 1", "Open 2", "Open 1", "Open 1"; 0: none
        std::uint32_t delayMs;               // of all together
    };
    for (const Case& one : {
             Case{"none", {{.call = "Close", .result = kResult}}, {0, 0, 0, 0}, 0},
             {"the first", {{.call = "Open", .result = kResult}}, {kResult, 0, 0, 0}, 0},
             {"two", {{.call = "Open", .at = 2, .times = 2, .result = kResult}}, {0, kResult, kResult, 0}, 0},
             {"all from there", {{.call = "Open", .at = 3, .times = 0, .delayMs = 5}}, {0, 0, 0, 0}, 10},
             {"with arguments", {{.call = "Open 1", .at = 2, .result = kResult}}, {0, 0, kResult, 0}, 0},
             {"not a part of the name", {{.call = "Ope", .result = kResult}}, {0, 0, 0, 0}, 0},
             {"several",
              {{.call = "Open", .times = 2, .delayMs = 1},
               {.call = "Open 2", .result = kOther, .delayMs = 20},
               {.call = "Open", .times = 0, .result = kResult, .delayMs = 100},
               {.call = "Open", .at = 4, .result = kOther}},
              {kResult, kResult, kResult, kResult},
              422},
             {"the name before the arguments",
              {{.call = "Open 2", .result = kOther}, {.call = "Open", .result = kResult}},
              {kResult, kOther, 0, 0},
              0},
         }) {
        CAPTURE(one.what);
        CallRules calls;
        calls.Play(one.rules);
        std::vector<std::uint32_t> results;
        std::uint32_t delayMs = 0;
        for (const char* argument : {"1", "2", "1", "1"}) {
            const Verdict verdict = calls.Note("Open", argument);
            results.push_back(verdict.result.value_or(0));
            delayMs += verdict.delayMs;
        }
        CHECK(results == one.results);
        CHECK(delayMs == one.delayMs);
    }
}

TEST_CASE("calls are counted by name and with their arguments, and listed as far as there is room") {
    CallRules calls(3);
    calls.Play({{.call = "Draw 1 2", .result = kResult}});
    calls.Note("Open", "a b");
    calls.Note("Look", "7", false);
    CHECK_FALSE(calls.Note("Draw").result);
    // Arguments that come to light later are judged then.
    CHECK(calls.NoteArguments("1 2").result == kResult);
    calls.Note("Open");
    calls.Note("Close");
    calls.NoteArguments("x");
    CHECK(calls.List() == Lines{"Open a b", "Draw 1 2", "Open"});
    CHECK(calls.Log() == "Open a b\nDraw 1 2\nOpen\n");
    struct Counted {
        const char* call;
        long count;
    };
    for (const Counted& one : {Counted{"Open", 2},
                               {"Open a b", 1},
                               {"Look 7", 1},
                               {"Draw", 1},
                               {"Close x", 1},
                               {"Draw 1", 0},
                               {"", 0}}) {
        CAPTURE(one.call);
        CHECK(calls.Count(one.call) == one.count);
    }
    // A program's own answer comes at once, goes before the rules, and is given once.
    calls.AnswerNext("Draw 1 2", kOther);
    CHECK(calls.Note("Draw", "1 2").result == kOther);
    CHECK_FALSE(calls.Note("Draw", "1 2").result);
    calls.Forget();
    calls.NoteArguments("of nothing");
    CHECK(calls.List().empty());
    CHECK(calls.Count("Open") == 0);
    CHECK(calls.Note("Draw", "1 2").result == kResult);
    calls.Play({});
    CHECK_FALSE(calls.Note("Draw", "1 2").result);
}

TEST_CASE("rules are read with their defaults, in lists, under the names that the player knows") {
    const auto rules = Read(
        R"({"32": {"result": -1}, "Open": [{"at": 2, "times": 0, "result": "0x5"}, {"delayMs": 60000}],
            "Open 3": {"result": 4294967295}})");
    REQUIRE(rules.size() == 4);
    CHECK(rules[0].call == "Open");
    CHECK(rules[0].at == 1);
    CHECK(rules[0].times == 1);
    CHECK(rules[0].result == 0xFFFFFFFF);
    CHECK(rules[0].delayMs == 0);
    CHECK(rules[1].at == 2);
    CHECK(rules[1].times == 0);
    CHECK(rules[1].result == 5);
    CHECK_FALSE(rules[2].result);
    CHECK(rules[2].delayMs == 60000);
    CHECK(rules[3].call == "Open 3");
    CHECK(rules[3].result == 0xFFFFFFFF);
    CHECK(Read(R"({"Open": {"result": "0x80041234"}})", true)[0].result == kResult);
    CHECK_FALSE(Read(R"({"Open": {"result": "0x00000000"}})", true)[0].result);
    CHECK(Read("{}").empty());
}

TEST_CASE("a mistake in a rule is told with member, value and remedy") {
    struct Mistake {
        const char* json;
        bool hresults;
        const char* told;
    };
    for (const Mistake& one : {
             Mistake{"5", false, "\"calls\" is 5; give an object of calls"},
             {R"({"Fly": {"result": 1}})", false, "\"calls.Fly\" is {\"result\":1}; no such call"},
             {R"({"Open": 5})", false, "\"calls.Open\" is 5; give an object with \"at\""},
             {R"({"Open": {}})", false, "\"calls.Open\" is {}; say what shall happen"},
             {R"({"Open": [{"delayMs": 1}, {"at": 0, "delayMs": 1}]})", false,
              "\"calls.Open[1].at\" is 0; give a whole number from 1 to 2147483647"},
             {R"({"Open": {"times": -1, "result": 1}})", false, "\"calls.Open.times\" is -1; give"},
             {R"({"Open": {"delayMs": 60001}})", false, "is 60001; give a whole number from 0 to 60000"},
             {R"({"Open": {"speed": 1}})", false, "\"calls.Open.speed\" is 1; there is no such member"},
             {R"({"Open": {"result": "five"}})", false, "\"calls.Open.result\" is \"five\"; give a whole"},
             {R"({"Open": {"result": 4294967296}})", false, "give a whole number"},
             {R"({"Open": {"result": "0x"}})", false, "give a whole number"},
             {R"({"Open": {"result": "0x5g"}})", false, "give a whole number"},
             {R"({"Open": {"result": "0x8004005"}})", true, "give an HRESULT of eight hexadecimal digits"},
             {R"({"Open": {"result": "E_FAIL"}})", true, "such as \"0x80004005\""},
             {R"({"Open": {"result": 5}})", true, "\"calls.Open.result\" is 5; give an HRESULT"},
         }) {
        CAPTURE(one.json);
        std::string error;
        try {
            Read(one.json, one.hresults);
        } catch (const std::runtime_error& failure) {
            error = failure.what();
        }
        CAPTURE(error);
        CHECK(error.find(one.told) != error.npos);
    }
}
