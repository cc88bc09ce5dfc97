// Settings files in XML form.
#pragma once

#include <windows.h>
#include <msxml.h>

#include <span>

#include "config/settings_request.h"

namespace cam::config {

// Keeps the last document loaded until another path is read, the file's last-write time has changed, or it is
// told to discard it. Not locked: one thread at a time.
class XmlSettings {
  public:
    // Fills the requests from the document: each key goes to the first request that asks for it. A string
    // request receives up to `length` characters and a terminator, so its buffer must be one larger. 0; -1
    // when the document cannot be loaded; -2 when it has no root element. Throws HresultError when memory
    // runs out.
    int Read(const wchar_t* path, std::span<SettingsRequest> requests);

    void Discard();

  private:
    bool Load(const wchar_t* path);

    // Plain pointers on purpose, and no destructor: when the process ends the parser may be gone before the
    // library's own objects are destroyed.
    IXMLDOMDocument* loaded = nullptr;
    wchar_t* loadedPath = nullptr;
    FILETIME loadedWritten = {};
};

}  // namespace cam::config
