#include "scenario.h"

#include <cstdint>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "rules/json_values.h"
#include "webcam/read_webcams.h"

namespace kit {
namespace {

using Json = nlohmann::json;

void ReadDevices(const std::string& path, const Json& list, Scenario& scenario) {
    if (!list.is_array()) Refuse(path, list, "give a list such as [\"CAM1:\"]; an empty one means no device");
    constexpr std::size_t kMaxDevices = 9;
    if (list.size() > kMaxDevices) Refuse(path, list, "give at most 9 devices");
    scenario.devices.clear();
    for (std::size_t index = 0; index < list.size(); ++index) {
        const std::string inner = Inner(path, index);
        Device device;
        device.cameraId = static_cast<long>(index) + 1;
        const auto readName = [&](const std::string& member, const Json& value) {
            device.name = Text(member, value);
            if (device.name.size() != 5 || device.name[3] < '0' || device.name[3] > '9' ||
                device.name[4] != ':')
                Refuse(member, value, "give three letters, a digit and a colon, such as \"CAM1:\"");
        };
        if (list[index].is_string()) {
            readName(inner, list[index]);
        } else {
            ReadObject(inner, list[index], "\"name\" and \"cameraId\"",
                       [&](const std::string& name, const std::string& member, const Json& value) {
                           if (name == "name") {
                               readName(member, value);
                           } else if (name == "cameraId") {
                               device.cameraId = Integer(member, value, 0, INT32_MAX);
                           } else {
                               return false;
                           }
                           return true;
                       });
            if (device.name.empty()) Refuse(inner, list[index], "add \"name\", such as \"CAM1:\"");
        }
        for (const Device& other : scenario.devices) {
            if (other.name == device.name) Refuse(inner, list[index], "give every device a name of its own");
        }
        scenario.devices.push_back(device);
    }
}

void ReadScene(const std::string& path, const Json& value, const std::string& folder, const Player& player,
               Scenario& scenario) {
    const std::string remedy = "give \"chart\", {\"picture\": \"<path>\"} or {\"film\": \"<path>\"}";
    SceneSettings scene;
    if (value.is_object() && value.size() == 1 && value.begin()->is_string() &&
        (value.contains("picture") || value.contains("film"))) {
        scene.kind = value.contains("film") ? SceneSettings::Kind::Film : SceneSettings::Kind::Picture;
        scene.path = value.begin()->get<std::string>();
        const bool absolute =
            scene.path.find(':') != std::string::npos || scene.path.find_first_of("\\/") == 0;
        if (!absolute) scene.path = folder + scene.path;
        std::string error;
        if (!player.shows(scene, error))
            Refuse(path + "." + value.begin().key(), *value.begin(), "it " + error);
    } else if (value != "chart") {
        Refuse(path, value, remedy);
    }
    scenario.scene = scene;
}

Format ReadFormat(const std::string& path, const Json& object, bool isStill) {
    Format format;
    if (isStill) format.layout = Layout::Yuy2;
    const std::string known = isStill ? "\"width\", \"height\", \"subtype\" and \"topDown\""
                                      : "\"width\", \"height\" and \"topDown\"";
    ReadObject(path, object, known,
               [&](const std::string& name, const std::string& member, const Json& value) {
                   if (name == "width") {
                       format.width = static_cast<int>(Integer(member, value, 1, kMaxSide));
                   } else if (name == "height") {
                       format.height = static_cast<int>(Integer(member, value, 1, kMaxSide));
                   } else if (name == "topDown") {
                       format.topDown = Boolean(member, value);
                   } else if (isStill && name == "subtype") {
                       if (value != "YUY2" && value != "RGB565")
                           Refuse(member, value, "give \"YUY2\" or \"RGB565\"");
                       format.layout = value == "YUY2" ? Layout::Yuy2 : Layout::Rgb565;
                   } else {
                       return false;
                   }
                   return true;
               });
    if (format.width == 0 || format.height == 0) Refuse(path, object, "give both \"width\" and \"height\"");
    return format;
}

void ReadStillFormats(const std::string& path, const Json& list, Scenario& scenario) {
    if (!list.is_array() || list.empty()) Refuse(path, list, "give a list of at least one format");
    scenario.stillFormats.clear();
    for (std::size_t index = 0; index < list.size(); ++index)
        scenario.stillFormats.push_back(ReadFormat(Inner(path, index), list[index], true));
    scenario.stillFormat = 0;
}

long ReadFlags(const std::string& member, const Json& value) {
    long flags = 0;
    if (value.is_array()) {
        for (const Json& flag : value)
            flags |= flag == "auto" ? kFlagAuto : flag == "manual" ? kFlagManual : 0x100;
    }
    if (flags == 0 || flags > (kFlagAuto | kFlagManual))
        Refuse(member, value, "give a list of \"auto\", \"manual\" or both");
    return flags;
}

void ReadProperty(const std::string& path, const Json& object, Property& property) {
    const std::string known =
        "\"supported\", \"minimum\", \"maximum\", \"step\", \"default\", \"value\" and \"flags\"";
    bool hasValue = false;
    ReadObject(path, object, known,
               [&](const std::string& name, const std::string& member, const Json& value) {
                   if (name == "supported") {
                       property.supported = Boolean(member, value);
                       return true;
                   }
                   if (name == "flags") {
                       property.capabilities = ReadFlags(member, value);
                       property.flags = property.capabilities & kFlagManual ? kFlagManual : kFlagAuto;
                       return true;
                   }
                   long* target = name == "minimum"   ? &property.minimum
                                  : name == "maximum" ? &property.maximum
                                  : name == "step"    ? &property.step
                                  : name == "default" ? &property.initial
                                  : name == "value"   ? &property.value
                                                      : nullptr;
                   if (!target) return false;
                   *target = Integer(member, value, INT32_MIN, INT32_MAX);
                   hasValue = hasValue || name == "value";
                   return true;
               });
    if (!hasValue) property.value = property.initial;
    if (const char* fault = Fault(property)) Refuse(path, object, fault);
}

void ReadProperties(const std::string& path, const Json& object, Scenario& scenario) {
    const std::string known = "names such as \"brightness\", \"zoom\" and \"cameraControl17\"";
    ReadObject(path, object, known,
               [&](const std::string& name, const std::string& member, const Json& value) {
                   Property* property = scenario.properties.Find(name);
                   if (property) ReadProperty(member, value, *property);
                   return property != nullptr;
               });
}

std::uint32_t ReadChaos(const std::string& path, const Json& object) {
    std::optional<std::uint32_t> seed;
    ReadObject(path, object, "\"seed\"",
               [&](const std::string& name, const std::string& member, const Json& value) {
                   if (name != "seed") return false;
                   seed = static_cast<std::uint32_t>(Integer(member, value, 0, INT32_MAX));
                   return true;
               });
    if (!seed) Refuse(path, object, "add \"seed\", such as 1");
    return *seed;
}

Scenario Interpret(const Json& document, const std::string& folder, const Player& player) {
    Scenario scenario;
    const Json* stillFormat = nullptr;
    const std::string known =
        "\"devices\", \"scene\", \"framesPerSecond\", \"preview\", \"stillFormats\", \"stillFormat\", "
        "\"properties\", \"webcams\", \"webcamFormats\", \"webcamStillFormats\", \"webcamHabits\", "
        "\"watchGraph\", \"calls\", \"chaos\", \"imager\", \"loseDeviceAfterFrames\" and "
        "\"resumeAfterFrames\"";
    ReadObject("", document, known, [&](const std::string& name, const std::string& path, const Json& value) {
        if (name == "devices") {
            ReadDevices(path, value, scenario);
        } else if (name == "scene") {
            ReadScene(path, value, folder, player, scenario);
        } else if (name == "framesPerSecond") {
            scenario.framesPerSecond = static_cast<int>(Integer(path, value, 1, kMaxFramesPerSecond));
        } else if (name == "preview") {
            scenario.preview = ReadFormat(path, value, false);
        } else if (name == "stillFormats") {
            ReadStillFormats(path, value, scenario);
        } else if (name == "stillFormat") {
            stillFormat = &value;
        } else if (name == "properties") {
            ReadProperties(path, value, scenario);
        } else if (name == "watchGraph") {
            scenario.watchGraph = Boolean(path, value);
        } else if (name == "calls") {
            scenario.calls = ReadCallRules(path, value, player.calls);
        } else if (name == "chaos") {
            scenario.chaosSeed = ReadChaos(path, value);
        } else if (name == "loseDeviceAfterFrames") {
            scenario.loseDeviceAfterFrames = Integer(path, value, 1, INT32_MAX);
        } else if (name == "resumeAfterFrames") {
            scenario.resumeAfterFrames = Integer(path, value, 1, INT32_MAX);
        } else {
            // What is the imager's is read by its library.
            return ReadWebcamMember(name, path, value, scenario) || name == "imager";
        }
        return true;
    });
    // Judged last: the list of formats may stand behind it.
    if (stillFormat)
        scenario.stillFormat = static_cast<std::size_t>(
            Integer("stillFormat", *stillFormat, 0, static_cast<long>(scenario.stillFormats.size()) - 1));
    return scenario;
}

}  // namespace

Scenario::Scenario() : devices{{"CAM1:", 1}}, preview{Layout::Rgb555, 640, 480, false}, stillFormat(1) {
    for (const Layout layout : {Layout::Yuy2, Layout::Rgb565}) {
        stillFormats.push_back({layout, 320, 240, false});
        stillFormats.push_back({layout, 640, 480, false});
        stillFormats.push_back({layout, 1280, 960, false});
        stillFormats.push_back({layout, 1600, 1200, false});
        stillFormats.push_back({layout, 161, 121, false});
        stillFormats.push_back({layout, 640, 480, true});
    }
}

Scenario InterpretScenario(const std::string& json, const std::string& folder, const Player& player) {
    Json document;
    try {
        document = Json::parse(json);
    } catch (const Json::parse_error& failure) {
        throw std::runtime_error("the scenario is no JSON text (at character " +
                                 std::to_string(failure.byte) +
                                 "); look for a missing comma, quote or bracket there");
    } catch (const Json::out_of_range&) {
        throw std::runtime_error("the scenario has a number that is too large for any computer; correct it");
    }
    return Interpret(document, folder, player);
}

}  // namespace kit
