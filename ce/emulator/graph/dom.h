// The system's XML parser, played by the host with a parser of the host's.
#pragma once

#include "emulator/com_object.h"

namespace ce {

const Guid kClsidDomDocument = ParseGuid("2933BF90-7B36-11D2-B20E-00C04F983E60");

// What became of the documents that the program made.
struct Parser {
    std::vector<std::unique_ptr<HostObject>> documents;
    u32 loads = 0;  // of files, successful or not
};

// Makes the parser's class known to the process.
Parser& RegisterParser(Process& process);

}  // namespace ce
