// Named values in settings files, INI or XML.
#pragma once

#include <span>

#include "config/settings_request.h"
#include "config/xml_settings.h"

namespace cam::config {

enum class SettingsFileType {
    Xml = 0,
    XmlBesideIni = 1,  // an XML ".exm" file that has an ".ini" file beside it
    Ini = 2,
};

// A settings file that was found.
struct SettingsFile {
    static constexpr int kMaxPath = 260;  // characters; a longer name finds nothing

    SettingsFileType type;
    wchar_t path[kMaxPath + 1];
};

// One thread at a time: the last XML document stays loaded and is not locked.
class SettingsStore {
  public:
    // Which file `fileName` means, and of which type its first line shows it to be. A name without an
    // extension gets ".exm" or ".ini". A file that cannot be opened is taken for what its extension says.
    // `fileName` must not be null.
    SettingsFile Classify(const wchar_t* fileName) const;

    // Fills the requests; one whose key is not in the file keeps its destination. 0, also when nothing was
    // found and for a null name, which discards the loaded XML document; -1 when the file cannot be opened
    // or loaded, or memory runs out; -2 when an XML document has no root element.
    int ReadSettings(const wchar_t* fileName, std::span<SettingsRequest> requests);

    // Replaces an INI file by the requests' values; results as those of WriteIniFile. XML is never written:
    // a message box says so, and the result is -1.
    int WriteSettings(const wchar_t* fileName, std::span<const SettingsRequest> requests) const;

    // ReadSettings for one value. `length` is that of the buffer in characters; from an XML file one more
    // may be written.
    int ReadInteger(const wchar_t* fileName, const wchar_t* section, const wchar_t* key,
                    int32_t* destination);
    int ReadString(const wchar_t* fileName, const wchar_t* section, const wchar_t* key, wchar_t* destination,
                   int length);

    // The same from a file that is known to be INI.
    int ReadIniInteger(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                       int32_t* destination) const;
    int ReadIniString(const wchar_t* path, const wchar_t* section, const wchar_t* key, wchar_t* destination,
                      int length) const;

  private:
    XmlSettings xml;
};

// The process's own.
extern constinit SettingsStore settingsStore;

}  // namespace cam::config
