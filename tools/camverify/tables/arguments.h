// Calls of the exported functions with arguments good and bad: which argument is judged first, what reaches
// the camera, and what its result becomes.
#pragma once

#include <string>
#include <vector>

namespace tables {

struct Argument {
    enum class Kind { kNumber, kText, kRoom };
    Argument(int value) : number(value) {}
    Argument(const char* value) : kind(Kind::kText), text(value) {}
    Argument(Kind value) : kind(value) {}
    Kind kind = Kind::kNumber;
    int number = 0;
    const char* text = "";
};
inline const Argument room = Argument::Kind::kRoom;  // memory that the function may write

struct ArgumentCase {
    const char* function;  // without "cam"
    std::vector<Argument> arguments;
    int withoutCamera, withCamera;
    const char* reaches;  // the camera's operation, or "" when it is not asked
    int whenCameraFails;
};

inline std::string Describe(const ArgumentCase& one) {
    std::string text = one.function;
    for (const Argument& argument : one.arguments) {
        text += argument.kind == Argument::Kind::kRoom   ? std::string(" room")
                : argument.kind == Argument::Kind::kText ? std::string(" '") + argument.text + "'"
                                                         : " " + std::to_string(argument.number);
    }
    return text;
}

inline const ArgumentCase kArguments[] = {
    {"ShutDown", {}, 1, 0, "Shutdown; ~1", 10},
    {"StartPreview", {}, 1, 0, "StartPreview", 10},
    {"StopPreview", {}, 1, 0, "StopPreview", 10},
    {"SetEventsWindow", {1}, 1, 0, "SetEventsWindow", 0},
    {"SetEventsWindow", {0}, 1, 3, "", 3},
    {"GetState", {room}, 1, 0, "GetState", 10},
    {"GetState", {0}, 3, 3, "", 3},

    {"GetPropertyRange", {-1, room, room, room, room, room}, 1, 3, "", 3},
    {"GetPropertyRange", {0, room, room, room, room, room}, 1, 0, "GetPropertyRangeA 0", 3},
    {"GetPropertyRange", {8, room, room, room, room, room}, 1, 0, "GetPropertyRangeA 8", 3},
    {"GetPropertyRange", {9, room, room, room, room, room}, 1, 0, "GetPropertyRangeB 9", 3},
    {"GetPropertyRange", {80, room, room, room, room, room}, 1, 0, "GetPropertyRangeB 80", 3},
    {"GetPropertyRange", {81, room, room, room, room, room}, 1, 3, "", 3},
    {"GetPropertyRange", {0, 0, room, room, room, room}, 1, 3, "", 3},
    {"GetPropertyRange", {0, room, 0, room, room, room}, 1, 3, "", 3},
    {"GetPropertyRange", {9, room, room, 0, room, room}, 1, 3, "", 3},
    {"GetPropertyRange", {9, room, room, room, 0, room}, 1, 3, "", 3},
    {"GetPropertyRange", {9, room, room, room, room, 0}, 1, 3, "", 3},
    {"GetProperty", {-2, room, room}, 1, 3, "", 3},
    {"GetProperty", {-1, room, room}, 1, 0, "GetPropertyA -1", 3},
    {"GetProperty", {8, room, room}, 1, 0, "GetPropertyA 8", 3},
    {"GetProperty", {9, room, room}, 1, 0, "GetPropertyB 9", 3},
    {"GetProperty", {80, room, room}, 1, 0, "GetPropertyB 80", 3},
    {"GetProperty", {81, room, room}, 1, 3, "", 3},
    {"GetProperty", {0, 0, room}, 1, 3, "", 3},
    {"GetProperty", {9, room, 0}, 1, 3, "", 3},
    {"SetProperty", {-1, 5, 2}, 1, 3, "", 3},
    {"SetProperty", {8, 5, 2}, 1, 0, "SetPropertyA 8 5 2", 3},
    {"SetProperty", {9, 5, 2}, 1, 0, "SetPropertyB 9 5 2", 3},
    {"SetProperty", {80, 5, 2}, 1, 0, "SetPropertyB 80 5 2", 3},
    {"SetProperty", {81, 5, 2}, 1, 3, "", 3},
    {"GetCameraID", {room}, 1, 0, "GetPropertyA -1", 3},
    {"GetCameraID", {0}, 3, 3, "", 3},

    {"GetResolutionCount", {room}, 1, 0, "GetResolutionCount", 0},
    {"GetResolutionCount", {0}, 3, 3, "", 3},
    {"GetResolutionDimensions", {room, room, -1}, 1, 0, "GetResolutionDimensions -1", 3},
    {"GetResolutionDimensions", {0, room, 0}, 1, 3, "", 3},
    {"GetResolutionDimensions", {room, 0, 0}, 1, 3, "", 3},
    {"SetResolution", {4}, 1, 0, "SetResolution 4", 3},

    {"SnapPicture", {"a.Jpg", 0}, 1, 0, "SnapPicture a.Jpg 0 0 0 0 0 0", 8},
    {"SnapPicture", {"a.BMP", 2}, 1, 0, "SnapPicture a.BMP 2 0 0 0 0 0", 8},
    {"SnapPicture", {"a.png", 0}, 1, 0, "SnapPicture a.png 0 0 0 0 0 0", 8},
    {"SnapPicture", {"dir.x\\a.tif", 1}, 1, 0, "SnapPicture dir.x\\a.tif 1 0 0 0 0 0", 8},
    {"SnapPicture", {0, 1}, 1, 0, "SnapPicture null 1 0 0 0 0 0", 8},
    {"SnapPicture", {"a.jpeg", 0}, 1, 3, "", 3},
    {"SnapPicture", {"dir.jpg\\a", 0}, 1, 3, "", 3},
    {"SnapPicture", {"", 0}, 1, 3, "", 3},
    {"SnapPicture", {"a.jpg", 3}, 1, 3, "", 3},
    {"SnapPicture", {0, -1}, 1, 3, "", 3},
    {"SnapPictureWithText", {"a.jpg", 1, 11, 12, 13, 14, 15}, 1, 0, "SnapPicture a.jpg 1 11 12 13 14 15", 8},
    {"GetSnapshot", {room}, 1, 0, "GetSnapshot", 3},
    {"GetSnapshot", {0}, 1, 0, "GetSnapshot null", 3},

    {"RegisterPreviewCallback", {0}, 1, 0, "RegisterPreviewCallback", 0},
    {"RegisterStillImageCallback", {0}, 1, 0, "RegisterStillImageCallback", 0},
    {"RegisterMediaTypeCallback", {0}, 1, 0, "RegisterMediaTypeCallback", 0},
    {"GetDllRevision", {0}, 3, 3, "", 3},
};

}  // namespace tables
