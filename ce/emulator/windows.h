// What the program did to windows.
#pragma once

#include <string>
#include <vector>

#include "emulator/process.h"

namespace ce {

struct PostedMessage {
    u32 window, message, first, second;
};

struct Windows {
    std::vector<PostedMessage> posted;
    std::vector<std::pair<std::u16string, std::u16string>> boxes;  // text, caption
    u32 updates = 0;
    u32 clientWidth = 320, clientHeight = 240;
};

}  // namespace ce
