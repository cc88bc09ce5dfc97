// The JPEG quality that the registry keeps for each quality level.
#pragma once

#include <windows.h>

namespace cam::still {

constexpr LONG kNoJpegQuality = -1;
constexpr LONG kDefaultJpegQuality = 90;

// The number under HKEY_LOCAL_MACHINE\Software\Microsoft\DirectShow\ImageSink\Quality\<level>\JPG\Quality,
// value "Value"; any 32-bit number, the encoder clamps. kNoJpegQuality when it is not there or the level is
// above 2. Any thread.
LONG JpegQuality(BYTE level);

}  // namespace cam::still
