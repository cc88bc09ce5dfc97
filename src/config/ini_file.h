// Settings files in INI form.
#pragma once

#include <span>

#include "config/settings_request.h"

namespace cam::config {

// Fills the requests from the file. 0, also for a null path; -1 when the file cannot be opened.
int ReadIniFile(const wchar_t* path, std::span<SettingsRequest> requests);

// Replaces the file by the requests' values, in their order, with a header whenever the section changes. 0;
// -1 when the file cannot be opened or a header not be written, -2 when an integer and -3 when a string
// cannot be. A line of more than 255 characters and text that the ANSI code page does not have count as not
// written. What was written before stays.
int WriteIniFile(const wchar_t* path, std::span<const SettingsRequest> requests);

}  // namespace cam::config
