// Settings files in XML form.
#pragma once

#include "config/settings_request.h"

namespace cam::config {

// Fills the requests from the document: each key goes to the first request that asks for it. A string
// request receives up to `length` characters and a terminator, so its buffer must be one larger.
// The last document stays loaded, for the process, until a call names another path, the file's last-write
// time has changed, or `path` is null, which does no more than discard it. Not locked: one thread at a time.
// 0; -1 when the document cannot be loaded; -2 when it has no root element. Throws HresultError when memory
// runs out.
int ReadXmlSettings(const wchar_t* path, SettingsRequest* requests, int count);

}  // namespace cam::config
