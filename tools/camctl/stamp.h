// The text options of a command line as the library's text.
#pragma once

#include <optional>

#include "base/unique_resource.h"
#include "commands.h"

namespace camctl {

// What strftime makes of the pattern now, in local time. `what` names it in the ToolError for one that is
// none.
std::string Now(const std::string& what, const std::string& pattern);

class Stamp {
  public:
    // Throws ToolError for a position, a colour or a font that does not exist. The time is the time of
    // construction.
    explicit Stamp(const TextOptions& options);

    // Valid as long as this object; null when there is no text.
    const ocellus::PictureText* Text() const { return text ? &*text : nullptr; }

  private:
    cam::UniqueFont font;
    std::optional<ocellus::PictureText> text;
};

}  // namespace camctl
