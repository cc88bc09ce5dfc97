// Registry files in the text format of the desktop's registry editor.
#pragma once

#include <string>

#include "emulator/process.h"

namespace ce {

// Puts the file's keys and values into the process's registry, and takes away those that it says to. Failure
// with file, line and reason; the registry then has what stood before that line.
void ReadRegistryFile(Process& process, const std::string& path);

// All keys and values, in UTF-8.
void WriteRegistryFile(Process& process, const std::string& path);

}  // namespace ce
