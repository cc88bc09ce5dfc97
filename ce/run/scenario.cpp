#include "run/scenario.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>

#include <nlohmann/json.hpp>

#include "emulator/devices.h"
#include "emulator/text.h"
#include "rules/json_values.h"
#include "rules/read_call_rules.h"

namespace ce {

namespace {

using Json = nlohmann::json;
using kit::Inner;
using kit::Refuse;

constexpr long kMaxFramesPerSecond = 60, kMaxDevices = 9;
constexpr u32 kResume = 2;  // the power manager's kind of notification

// What the device kit's scenarios have beyond; told apart from what no scenario has.
const char* const kKitOnly[] = {"scene",      "preview",    "stillFormats", "stillFormat",
                                "properties", "watchGraph", "imager",       "loseDeviceAfterFrames"};

Devices ReadDevices(const std::string& path, const Json& list) {
    if (!list.is_array() || list.size() > kMaxDevices) Refuse(path, list, "give a list of at most 9 names");
    Devices devices;
    for (size_t i = 0; i < list.size(); ++i) {
        const std::string inner = Inner(path, i);
        if (list[i].is_object())
            Refuse(inner, list[i], "the emulated camera has no camera identifier; give its name");
        const std::string name = list[i].is_string() ? list[i].get<std::string>() : "";
        if (name.size() != 5 || !std::isdigit(static_cast<unsigned char>(name[3])) || name[4] != ':')
            Refuse(inner, list[i], "give three letters, a digit and a colon, such as \"CAM1:\"");
        devices.push_back({kCameraClass, FromUtf8(name)});
    }
    return devices;
}

// As a rule names it: the call alone, or with its arguments after it.
std::optional<std::string> FindCall(const std::string& call) {
    const std::string name = call.substr(0, call.find(' '));
    const char* const classes[] = {"CaptureGraphBuilder", "FilterGraph",   "CaptureFilter", "VideoRenderer",
                                   "MemoryAllocator",     "SampleGrabber", "StillImageSink"};
    const bool isCreation = std::any_of(std::begin(classes), std::end(classes), [&](const char* known) {
        return call == std::string("CoCreateInstance ") + known;
    });
    if (isCreation || KnownCalls().contains(name)) return call;
    return std::nullopt;
}

// The emulator answers a call instead of carrying it out: with a success nothing would have happened.
std::optional<std::uint32_t> ReadFailure(const std::string& member, const Json& value) {
    const auto result = kit::ReadHresult(member, value);
    if (result && *result < 0x80000000) Refuse(member, value, "the emulator answers with failures only");
    return result;
}

constexpr kit::CallForm kForm = {"{\"IGraphBuilder::AddFilter\": {\"result\": \"0x80004005\"}}",
                                 "the emulated platform sees no such call", FindCall, ReadFailure};

void Play(Process& process, Platform& platform, const Json& document) {
    const std::string known = "\"devices\", \"framesPerSecond\", \"calls\" and \"resumeAfterFrames\"";
    kit::ReadObject(
        "", document, known, [&](const std::string& name, const std::string& path, const Json& value) {
            if (name == "devices") {
                process.Attachment<Devices>("devices") = ReadDevices(path, value);
            } else if (name == "framesPerSecond") {
                platform.capture.framePause =
                    1000 / static_cast<u32>(kit::Integer(path, value, 1, kMaxFramesPerSecond));
            } else if (name == "calls") {
                Calls(process).Play(kit::ReadCallRules(path, value, kForm));
            } else if (name == "resumeAfterFrames") {
                const auto after = static_cast<u32>(kit::Integer(path, value, 1, INT32_MAX));
                platform.capture.onPreviewFrame = [&process, after](u32 frames) {
                    if (frames == after) PostPowerMessage(process, kResume);
                };
            } else if (std::count(std::begin(kKitOnly), std::end(kKitOnly), name)) {
                Refuse(path, value, "only the device kit plays it, not the emulator; known are " + known);
            } else {
                return false;
            }
            return true;
        });
}

}  // namespace

void PlayScenario(Process& process, Platform& platform, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    try {
        Play(process, platform, Json::parse(text));
    } catch (const Json::parse_error& failure) {
        throw std::runtime_error(path + ": no JSON text (at character " + std::to_string(failure.byte) + ")");
    } catch (const std::runtime_error& failure) {
        throw std::runtime_error(path + ": " + failure.what());
    }
}

}  // namespace ce
