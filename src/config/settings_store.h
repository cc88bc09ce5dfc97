// Named values in settings files, INI or XML.
#pragma once

#include "config/settings_request.h"

namespace cam::config {

enum class SettingsFileType {
    kXml = 0,
    kXmlBesideIni = 1,  // an XML ".exm" file that has an ".ini" file beside it
    kIni = 2,
};

// A settings file that was found.
struct SettingsFile {
    static constexpr int kMaximumPath = 260;  // characters; a longer name finds nothing

    SettingsFileType type;
    wchar_t path[kMaximumPath + 1];
};

// One thread at a time: the last XML document stays loaded and is not locked.
class SettingsStore {
  public:
    // Which file `fileName` means, and of which type its first line shows it to be. A name without an
    // extension gets ".exm" or ".ini". A file that cannot be opened is taken for what its extension says.
    // `fileName` must not be null.
    static void Classify(const wchar_t* fileName, SettingsFile* file);

    // Fills the requests; one whose key is not in the file keeps its destination. 0, also when nothing was
    // found and for a null name, which discards the loaded XML document; -1 when the file cannot be opened
    // or loaded, or memory runs out; -2 when an XML document has no root element.
    static int ReadSettings(const wchar_t* fileName, SettingsRequest* requests, int count);

    // Replaces an INI file by the requests' values; results as those of WriteIniFile. XML is never written:
    // a message box says so, and the result is -1.
    static int WriteSettings(const wchar_t* fileName, const SettingsRequest* requests, int count);

    // ReadSettings for one value. `length` is that of the buffer in characters; from an XML file one more
    // may be written.
    static int ReadInteger(const wchar_t* fileName, const wchar_t* section, const wchar_t* key,
                           int32_t* destination);
    static int ReadString(const wchar_t* fileName, const wchar_t* section, const wchar_t* key,
                          wchar_t* destination, int length);

    // The same from a file that is known to be INI.
    static int ReadIniInteger(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                              int32_t* destination);
    static int ReadIniString(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                             wchar_t* destination, int length);
};

}  // namespace cam::config
