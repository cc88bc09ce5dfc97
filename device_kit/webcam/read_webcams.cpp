#include "webcam/read_webcams.h"

#include <algorithm>
#include <cstdint>

#include "rules/json_values.h"

namespace kit {
namespace {

using Json = nlohmann::json;

std::vector<WebcamEntry> ReadWebcams(const std::string& path, const Json& list) {
    constexpr std::size_t kMaxWebcams = 9;
    if (!list.is_array() || list.size() > kMaxWebcams) Refuse(path, list, "give a list of at most 9 webcams");
    std::vector<WebcamEntry> webcams;
    for (std::size_t index = 0; index < list.size(); ++index) {
        WebcamEntry entry;
        ReadObject(Inner(path, index), list[index], "\"name\" and \"path\"",
                   [&](const std::string& name, const std::string& member, const Json& value) {
                       if (name != "name" && name != "path") return false;
                       (name == "name" ? entry.name : entry.path) = Text(member, value);
                       return true;
                   });
        if (entry.name.empty()) Refuse(Inner(path, index), list[index], "add \"name\", such as \"Webcam\"");
        webcams.push_back(entry);
    }
    return webcams;
}

WebcamEncoding ReadEncoding(const std::string& member, const Json& value) {
    const char* const names[] = {"YUY2", "NV12", "MJPG", "RGB24", "Y800"};
    const auto found = std::find(std::begin(names), std::end(names), value);
    if (found == std::end(names))
        Refuse(member, value, "give \"YUY2\", \"NV12\", \"MJPG\", \"RGB24\" or \"Y800\"");
    return static_cast<WebcamEncoding>(found - std::begin(names));
}

std::vector<WebcamFormat> ReadFormats(const std::string& path, const Json& list) {
    if (!list.is_array() || list.empty()) Refuse(path, list, "give a list of at least one format");
    std::vector<WebcamFormat> formats;
    for (std::size_t index = 0; index < list.size(); ++index) {
        WebcamFormat format;
        ReadObject(Inner(path, index), list[index],
                   "\"encoding\", \"width\", \"height\", \"framesPerSecond\" and \"longBlock\"",
                   [&](const std::string& name, const std::string& member, const Json& value) {
                       if (name == "encoding") {
                           format.encoding = ReadEncoding(member, value);
                       } else if (name == "width" || name == "height") {
                           (name == "width" ? format.width : format.height) =
                               static_cast<int>(Integer(member, value, 1, kMaxSide));
                       } else if (name == "framesPerSecond") {
                           format.framesPerSecond =
                               static_cast<int>(Integer(member, value, 1, kMaxFramesPerSecond));
                       } else if (name == "longBlock") {
                           format.longBlock = Boolean(member, value);
                       } else {
                           return false;
                       }
                       return true;
                   });
        formats.push_back(format);
    }
    return formats;
}

WebcamHabits ReadHabits(const std::string& path, const Json& object) {
    WebcamHabits habits;
    ReadObject(path, object,
               "\"losesSilently\", \"huffmanTables\", \"blackFrames\", \"brokenFrameEvery\" and "
               "\"firstFrameMs\"",
               [&](const std::string& name, const std::string& member, const Json& value) {
                   if (name == "losesSilently" || name == "huffmanTables") {
                       (name == "huffmanTables" ? habits.huffmanTables : habits.losesSilently) =
                           Boolean(member, value);
                       return true;
                   }
                   long* const number = name == "blackFrames"        ? &habits.blackFrames
                                        : name == "brokenFrameEvery" ? &habits.brokenFrameEvery
                                        : name == "firstFrameMs"     ? &habits.firstFrameMs
                                                                     : nullptr;
                   if (number) *number = Integer(member, value, 0, INT32_MAX);
                   return number != nullptr;
               });
    return habits;
}

}  // namespace

bool ReadWebcamMember(const std::string& name, const std::string& path, const Json& value,
                      Scenario& scenario) {
    if (name == "webcams") {
        scenario.webcams = ReadWebcams(path, value);
    } else if (name == "webcamFormats") {
        scenario.webcamFormats = ReadFormats(path, value);
    } else if (name == "webcamStillFormats") {
        scenario.webcamStillFormats = ReadFormats(path, value);
    } else if (name == "webcamHabits") {
        scenario.webcamHabits = ReadHabits(path, value);
    } else {
        return false;
    }
    return true;
}

}  // namespace kit
