// Settings files and what is read from them: for the reader's own tests, and for a camera that is started
// with such a file.
#pragma once

#include <string>

namespace tables {

constexpr int kNotSet = -77;  // the file does not set it

struct SettingsCase {
    std::string text;
    int zoom;  // "Zoom" in the section "Camera"
};

inline const std::string kXmlHead = "<?xml version=\"1.0\"?>\r\n";
inline std::string Document(const std::string& content) {
    return kXmlHead + "<ConfigDoc>" + content + "</ConfigDoc>";
}
inline std::string Camera(const std::string& keys) {
    return Document("<Section name=\"Camera\">" + keys + "</Section>");
}

inline const SettingsCase kIniSettings[] = {
    {"[Camera]\nZoom=5\n", 5},
    {"[camera]\nzOOM=5", 5},  // no newline at the end
    {"[Other]\nZoom=5\n", kNotSet},
    {"Zoom=5\n[Camera]\n", kNotSet},    // before any section
    {"[Camera]\nZoom = 2\n", kNotSet},  // the key is "Zoom "
    {"[Camera]\n Zoom=2\n", kNotSet},
    {"[Camera]\nZoom= 7\n", 7},
    {"[Camera]\nZoom=2\nZoom=3\n", 3},  // the last one wins
    {"[Camera]\nZoom=2\n[Other]\nZoom=4\n[Camera]\nZoom=3\n", 3},
    {"[Camera]\n;Zoom=2\n", kNotSet},
    {"[Camera]\n ;Zoom=2\n", kNotSet},
    {"[Camera]\n[]\nZoom=2\n", 2},  // "[]" changes nothing
    {"[Camera]\n[\nZoom=2\n", 2},
    {"[Camera\nZoom=2\n", 2},  // a missing "]"
    {"[Camera] ; remark\nZoom=2\n", 2},
    {" [Camera]\nZoom=2\n", kNotSet},  // a key, not a section
    {"[ Camera]\nZoom=2\n", kNotSet},
    {"[Camera]\n==Zoom==2=3\n", 2},
    {"[Camera]\nZoom\n", 0},  // a key without a value has the empty one
    {"[Camera]\nZoom=\n", 0},
    {"[Camera]\n=2\n", kNotSet},
    {"[Camera]\n\n\nZoom=2\n", 2},
    {"", kNotSet}};

// Live keys of live sections below the root.
inline const SettingsCase kXmlSettings[] = {
    {Camera("<Key name='Zoom'>0x10</Key>"), 16},
    {Camera("<Key name='zoom'>010</Key>"), 8},
    {Camera("<Key name='Zoom'> 7 </Key>"), 7},
    {Camera("<Key name='Zoom'><![CDATA[ 9]]></Key>"), 9},
    {Camera("<Key name='Zoom'><!-- 1 -->5<!-- 2 --></Key>"), 5},
    {Camera("<Key name='Zoom'/>"), 0},  // the empty value
    {Camera("<Key name='Zoom'><!-- no text --></Key>"), kNotSet},
    {Camera("<Key name='Zoom' flags='1'>5</Key>"), kNotSet},
    {Camera("<Key name='Zoom' flags='1'>5</Key><Key name='Zoom' flags='2'>6</Key>"), 6},
    {Camera("<Key name='Zoom'>5</Key><Key name='Zoom'>6</Key>"), 6},
    {Camera("<Key>5</Key><key name='Zoom'>5</key><Section name='Camera'><Key "
            "name='Zoom'>5</Key></Section>"),
     kNotSet},
    {Document("<Section name='CAMERA'><Key name='Zoom'>5</Key></Section>"), 5},
    {Document("<Section name='Camera' flags='1'><Key name='Zoom'>5</Key></Section>"), kNotSet},
    {Document("<Section name='Other'><Key name='Zoom'>5</Key></Section>"), kNotSet},
    {Document("<Section><Key name='Zoom'>5</Key></Section>"), kNotSet},
    {Document("<QVXReserved><Section name='Camera'><Key name='Zoom'>5</Key></Section></QVXReserved>"),
     kNotSet},
    {Document("<Section name='Camera'/><!-- --><Section name='Camera'><Key name='Zoom'>5</Key></Section>"),
     5},
    {kXmlHead + "<AnyRoot><Section name='Camera'><Key name='Zoom'>5</Key></Section></AnyRoot>", 5},
    {kXmlHead + "<ConfigDoc flags='1'><Section name='Camera'><Key name='Zoom'>5</Key></Section></ConfigDoc>",
     kNotSet}};

// The slots of a list: names with blanks between them, "-" for an empty one, and none at the end; "none" when
// there is no list.
struct ProfilesCase {
    std::string text;
    const char* slots;
};

inline std::string Profiles(const std::string& sections) {
    return kXmlHead + "<ConfigDoc name=\"x\">\n<Section name=\"Profiles\">" + sections +
           "</Section></ConfigDoc>";
}
inline std::string Sections(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "<Section name=\"P" + std::to_string(i) + "\"/>\n";
    return text;
}

inline const ProfilesCase kProfiles[] = {
    {Profiles("<Section name='A'/><!-- x --><Section name='B'/>"), "A - B"},
    {Profiles("\n  <Section name='A'/>\n  <Section name='B'/>\n"), "A B"},
    {Profiles("<Section name='A'/><Section name='B' flags='1'/><Section name='C' flags='3'/>"), "A"},
    {Profiles("<Section name='A' flags='2'/><Section name='B' flags='0x1'/>"), "A B"},
    {Profiles("<Key name='K'/>text<section name='x'/><Section name='A'/>"), "- - - A"},
    {Profiles("<Section name='A'><Section name='inner'/></Section>"), "A"},
    {Profiles("<Section name='A'/><Section name='A'/><Section name=''/>"), "A A "},
    {Profiles(""), ""},
    {Profiles("<Section/><Section name='A'/><!-- x --><Section name='B' flags='1'/><Section/><Section/>"),
     "- A - - A A"},
    {"\xEF\xBB\xBF" + Profiles("<Section name='\xC3\xA4'/>"), "\xC3\xA4"},
    {Profiles(Sections(33)), "none"},
    {Profiles(Sections(32) + "<!-- counts as well -->"), "none"},
    // No live section of that name in a live document.
    {"<ConfigDoc/>", "none"},
    {"<ConfigDoc><Section name='profiles'/></ConfigDoc>", "none"},
    {"<ConfigDoc><Section name='A'><Section name='Profiles'/></Section></ConfigDoc>", "none"},
    {"<ConfigDoc><Section name='Profiles' flags='1'/></ConfigDoc>", "none"},
    {"<ConfigDoc flags='1'><Section name='Profiles'/></ConfigDoc>", "none"},
    {"<Config><Section name='Profiles'/></Config>", "none"},
    {"<!DOCTYPE ConfigDoc [<!ENTITY e \"x\">]><ConfigDoc><Section name=\"Profiles\"/></ConfigDoc>", "none"},
    {"<ConfigDoc>", "none"},
    {"", "none"},
    {"[Profiles]\nA=1\n", "none"}};

}  // namespace tables
