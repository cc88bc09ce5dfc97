// What the emulated device consists of: active drivers, and room for files.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "emulator/com_object.h"

namespace ce {

struct Device {
    Guid deviceClass;
    std::u16string legacyName;  // "CAM1:"
};
using Devices = std::vector<Device>;

// Bytes that can still be written before the disk is full; nothing: no limit.
struct FileRoom {
    std::optional<u32> bytes;
};

// The host's file that the program means by a name, and the name of a file of the host's: below the process's
// folder, or else in the device's \Windows.
std::string HostPath(Process& process, std::u16string_view name);
std::u16string DevicePath(Process& process, const std::string& hostPath);
bool IsReadOnly(const std::string& hostPath);

}  // namespace ce
