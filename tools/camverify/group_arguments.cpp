// Arguments good and bad: which is judged first, and what each function answers without a camera.
#include <algorithm>
#include <utility>

#include "camera.h"
#include "check.h"
#include "tables/arguments.h"

namespace verify {

namespace {

using Word = UINT_PTR;

template <size_t... I>
camResult Invoke(FARPROC function, const Word* words, std::index_sequence<I...>) {
    using Function = camResult(WINAPI*)(decltype(Word{I})...);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function))(words[I]...);
}

// The function of that name, with what the row says in each of its arguments.
camResult Call(const tables::ArgumentCase& one) {
    using Kind = tables::Argument::Kind;
    static Word rooms[7];
    Word words[7] = {};
    std::wstring text;
    for (size_t i = 0; i < one.arguments.size(); ++i) {
        const tables::Argument& argument = one.arguments[i];
        if (argument.kind == Kind::kText) text = Wide(argument.text);
        words[i] = argument.kind == Kind::kRoom   ? reinterpret_cast<Word>(&rooms[i])
                   : argument.kind == Kind::kText ? reinterpret_cast<Word>(text.c_str())
                                                  : static_cast<Word>(argument.number);
    }
    const auto found = std::find_if(cam.exports.begin(), cam.exports.end(), [&](const ExportBase* known) {
        return known->name == std::string("cam") + one.function;
    });
    const CallUnderWay call(tables::Describe(one));
    const auto with = [&]<size_t... N>(std::index_sequence<N...>) {
        camResult result = camFailed;
        ((one.arguments.size() == N
              ? void(result = Invoke((*found)->address, words, std::make_index_sequence<N>()))
              : void()),
         ...);
        return result;
    };
    return with(std::make_index_sequence<std::size(words) + 1>());
}

void WithoutCamera() {
    cam.ShutDown();
    for (const tables::ArgumentCase& one : tables::kArguments) {
        const Row row(tables::Describe(one));
        Equal("result", Call(one), camResult{one.withoutCamera});
    }
}

// Those only that ask nothing of the camera.
void WithCamera() {
    const Session session;
    session.NeedUp();
    for (const tables::ArgumentCase& one : tables::kArguments) {
        if (*one.reaches) continue;
        const Row row(tables::Describe(one));
        Equal("result", Call(one), camResult{one.withCamera});
        Equal("state", State(), int{CAM_STATE_INITIALISED});
    }
}

void Revision() {
    wchar_t revision[16];
    std::fill(std::begin(revision), std::end(revision), L'x');
    Equal("result", cam.GetDllRevision(revision), camResult{camOk});
    size_t length = 0;
    while (length < 13 && revision[length] != L'x' && revision[length]) ++length;
    Equal("characters", length, size_t{13});
    Holds("a zero, and nothing beyond it", revision[13] == 0 && revision[14] == L'x' && revision[15] == L'x');
    Holds("version 2.209", std::wstring(revision, 6) == L"2.209.");
}

void SelectedType() {
    for (const int type : {7, 0, -1}) {
        const Row row("type " + std::to_string(type));
        Equal("an unknown type", cam.Select(nullptr, nullptr, nullptr, type), camResult{camNotInitialised});
        int selected = -99;
        Equal("result", cam.GetSelectedType(&selected), camResult{camOk});
        Equal("the type given last, known or not", selected, type);
        Equal("no camera", cam.ShutDown(), camResult{camNotInitialised});
        cam.GetSelectedType(&selected);
        Equal("the type after a shutdown", selected, type);
    }
}

constexpr Check kChecks[] = {
    {"without a camera every function says so, or what is wrong first", kNothing, WithoutCamera,
     kLibraryFault},
    {"with a camera bad arguments are refused before it is asked", kCamera, WithCamera, kLibraryFault},
    {"the revision is thirteen characters", kNothing, Revision,
     "install the library that this camverify came with"},
    {"an unknown type leaves no camera, and is remembered", kNothing, SelectedType, kLibraryFault},
};

}  // namespace

const Group kArguments = {"arguments", "what the functions refuse", kChecks};

}  // namespace verify
