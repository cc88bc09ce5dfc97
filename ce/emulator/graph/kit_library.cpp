#include "emulator/graph/kit_library.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "emulator/devices.h"
#include "emulator/drawing.h"
#include "emulator/graph/kit_scenario.h"
#include "emulator/text.h"
#include "emulator/windows.h"
#include "imager/scenario.h"

namespace ce {

namespace {

constexpr u32 kResume = 2;  // the power manager's kind of notification

// As much of the text as there is room for, and a zero; the characters that all of it needs.
u32 Give(Process& process, std::u16string_view text, u32 buffer, u32 length) {
    if (buffer && length) WriteText(process.machine, buffer, text.substr(0, length - 1));
    return static_cast<u32>(text.size() + 1);
}

// A path on the device, or JSON text that begins with "{".
std::string ScenarioText(Process& process, u32 at) {
    const std::u16string given = process.machine.Text(at);
    const size_t first = given.find_first_not_of(u" \t\r\n");
    if (first != std::u16string::npos && given[first] == u'{') return ToUtf8(given);
    std::ifstream file(HostPath(process, given), std::ios::binary);
    if (!file)
        throw std::runtime_error("the scenario \"" + ToUtf8(given) +
                                 "\" cannot be opened; give an existing file, or JSON text");
    return {std::istreambuf_iterator<char>(file), {}};
}

u32 LoadScenario(Process& process, Platform& platform, u32 scenario, u32 error, u32 length) {
    try {
        if (!scenario) throw std::runtime_error("no scenario is given");
        platform.Play(ReadScenario(ScenarioText(process, scenario)));
        return 1;
    } catch (const std::runtime_error& failure) {
        Give(process, FromUtf8(failure.what()), error, length);
        return 0;
    }
}

std::string ImagerScenario(Process& process, u32 scenario, const std::string& startScenario) {
    try {
        const std::string json = scenario ? ScenarioText(process, scenario) : startScenario;
        const imvoxa::Scenario read = json.empty() ? imvoxa::Scenario() : imvoxa::InterpretScenario(json);
        std::string text = read.scene == imvoxa::Scene::Page ? "page\n" : "barcode\n";
        for (const kit::CallRule& rule : read.calls) {
            text += std::to_string(rule.at) + " " + std::to_string(rule.times) + " " +
                    (rule.result ? std::to_string(*rule.result) : "-") + " " + std::to_string(rule.delayMs) +
                    " " + rule.call + "\n";
        }
        return text;
    } catch (const std::runtime_error& failure) {
        return std::string("!") + failure.what();
    }
}

void CountHoldings(Process& process, u32 counts) {
    u32 handles = 0, drawn = 0, threads = 0;
    for (const auto& [handle, object] : process.AllHandles()) {
        const bool isDrawn =
            dynamic_cast<const Drawable*>(object.get()) || dynamic_cast<const DeviceContext*>(object.get());
        ++(isDrawn ? drawn : handles);
    }
    for (const auto& thread : process.scheduler.Threads()) threads += !thread->finished;
    const auto windows = static_cast<u32>(process.Attachment<Windows>("windows").windows.size());
    for (const u32 count : {handles, threads, drawn, windows})
        process.machine.Write(std::exchange(counts, counts + 4), count);
}

std::string HoldingsByKind(Process& process) {
    std::map<std::string, size_t> kinds = {{"event", 0}, {"thread", 0}, {"bitmap", 0}, {"device", 0}};
    for (const auto& [handle, object] : process.AllHandles()) {
        const std::string what = object->Describe();
        ++kinds[what.substr(0, what.find(' '))];
    }
    kinds["window"] = process.Attachment<Windows>("windows").windows.size();
    kinds["object of the platform's"] = CountReferencedObjects(process);
    kinds["heap bytes"] = process.heap.Bytes();
    std::string text;
    for (const auto& [kind, count] : kinds) text += std::to_string(count) + " " + kind + "\n";
    return text;
}

u32 TakeMessageBoxes(Process& process, u32 buffer, u32 length) {
    auto& boxes = process.Attachment<Windows>("windows").boxes;
    std::u16string text;
    for (const auto& [message, caption] : boxes) text += caption + u"\t" + message + u"\n";
    const u32 needed = Give(process, text, buffer, length);
    if (needed <= length) boxes.clear();
    return needed;
}

}  // namespace

void OfferKit(Process& process, Platform& platform, const std::string& startScenario) {
    const auto offer = [&process](const char* name, auto function) {
        process.Offer("devicekit.dll", name, MakeHandler(std::function(std::move(function))));
    };
    offer("kitLoadScenario", [&process, &platform](u32 scenario, u32 error, u32 length) {
        return LoadScenario(process, platform, scenario, error, length);
    });
    offer("kitReset", [&platform] { platform.Play({}); });
    offer("kitResume", [&process]() -> u32 { return PostPowerMessage(process, kResume); });
    offer("kitLoseDevice", [&platform] { platform.capture.lost = true; });
    offer("kitCallCount", [&process](u32 call) -> u32 {
        return call ? static_cast<u32>(Calls(process).Count(ToUtf8(process.machine.Text(call)))) : 0;
    });
    offer("kitCallLog", [&process](u32 buffer, u32 length) {
        return Give(process, FromUtf8(Calls(process).Log()), buffer, length);
    });
    offer("kitLiveObjects", [&process] { return CountReferencedObjects(process); });
    offer("kitPreviewFrames", [&platform] { return platform.capture.previewFrames; });
    offer("kitStillPictures", [&platform] { return platform.capture.stillPictures; });
    offer("kitHoldings", [&process](u32 counts) { CountHoldings(process, counts); });
    offer("kitHoldingsByKind", [&process](u32 buffer, u32 length) {
        return Give(process, FromUtf8(HoldingsByKind(process)), buffer, length);
    });
    offer("kitMessageBoxes",
          [&process](u32 buffer, u32 length) { return TakeMessageBoxes(process, buffer, length); });
    offer("kitImagerScenario", [&process, startScenario](u32 scenario, u32 buffer, u32 length) {
        return Give(process, FromUtf8(ImagerScenario(process, scenario, startScenario)), buffer, length);
    });
}

}  // namespace ce
