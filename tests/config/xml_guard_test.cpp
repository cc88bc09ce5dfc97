#include "config/xml_guard.h"

#include <doctest/doctest.h>

#include <string>

using cam::config::XmlGuard;
using cam::config::XmlVerdict;

namespace {

// The verdict on bytes that arrive `piece` at a time.
XmlVerdict Judge(const std::string& bytes, size_t piece = 1u << 20) {
    XmlGuard guard;
    for (size_t i = 0; i < bytes.size(); i += piece) {
        const std::string part = bytes.substr(i, piece);
        guard.AddBytes({reinterpret_cast<const unsigned char*>(part.data()), part.size()});
    }
    return guard.Verdict();
}

// `text` in UTF-16, optionally with a byte-order mark.
std::string Wide(const std::string& text, bool bigEndian, bool mark) {
    std::string bytes = !mark ? "" : bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text) bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return bytes;
}

std::string Nested(int levels, const std::string& tag = "a") {
    std::string text;
    for (int i = 0; i < levels; ++i) text += "<" + tag + " b='>'>";
    for (int i = 0; i < levels; ++i) text += "</" + tag + ">";
    return text;
}

}  // namespace

TEST_CASE("a DTD with entities is seen wherever it stands, and only where it stands") {
    struct Case {
        const char* text;
        XmlVerdict verdict;
    };
    for (const Case& c :
         {Case{"<?xml version=\"1.0\"?><!DOCTYPE a [<!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!-- -- ><!-- --><!DOCTYPE a [<!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!--><!DOCTYPE a [<!ENTITY b 'c'>]>--><a/>", XmlVerdict::Accepted},
          {"<!---><!DOCTYPE a [<!ENTITY b 'c'>]>--><a/>", XmlVerdict::Accepted},
          {"<?a ?><!DOCTYPE a [<!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<?a <!DOCTYPE a [<!ENTITY b 'c'>]> ?><a/>", XmlVerdict::Accepted},
          {"<a><!-- <!DOCTYPE a [<!ENTITY b 'c'>]> --></a>", XmlVerdict::Accepted},
          {"<a><![CDATA[<!DOCTYPE a [<!ENTITY b 'c'>]>]]></a>", XmlVerdict::Accepted},
          {"<a><![CDATA[]]]><!DOCTYPE a></a>", XmlVerdict::UnsafeDtd},
          {"<a b='<!DOCTYPE a>' c=\"'<!DOCTYPE\"/>", XmlVerdict::Accepted},
          // Its own parts.
          {"<!DOCTYPE a SYSTEM 'x>'><a/>", XmlVerdict::Accepted},
          {"<!DOCTYPE a PUBLIC \"x'\" 'y' [<!NOTATION b SYSTEM 'c'>]><a/>", XmlVerdict::Accepted},
          {"<!DOCTYPE a SYSTEM 'x>' [<!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a [<!ENTITY % b SYSTEM 'c'>%b;]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a ['<!ENTITY b \"c\">']><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a [<!ELEMENT a (b) '>' <!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a><a b='c'/>", XmlVerdict::Accepted},
          {"<!DOCTYPE a [<!ELEMENT a (b|c)*><!ATTLIST a d CDATA #IMPLIED>]><a/>", XmlVerdict::Accepted},
          {"<!DOCTYPE a [<!-- it's ]> --><?b it's ]> ?>] ><a>'</a>", XmlVerdict::Accepted},
          {"<!DOCTYPE a [<!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a [<!ATTLIST a b CDATA \"c'\">]><a/>", XmlVerdict::Accepted},
          {"<!DOCTYPE a [<!-- ]> <b c=' --><!ENTITY d \"e\"><!-- '> -->]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a [<![INCLUDE[]]><!ENTITY b 'c'>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a [<b>]><a/>", XmlVerdict::UnsafeDtd},
          {"<!DOCTYPE a><!DOCTYPE a><a/>", XmlVerdict::UnsafeDtd},
          {"<a><!DOCTYPE a></a>", XmlVerdict::UnsafeDtd},
          {" \r\n\t<a/>", XmlVerdict::Accepted},
          {"", XmlVerdict::Accepted},
          {"no xml", XmlVerdict::Accepted},  // the parser's to refuse
          {"no xml <!DOCTYPE a [<!ENTITY b 'c'>]>", XmlVerdict::UnsafeDtd},
          {"\x4C\x6F\xA7\x94", XmlVerdict::Unreadable}}) {  // "<?xm" in EBCDIC
        CAPTURE(c.text);
        CHECK(Judge(c.text) == c.verdict);
        CHECK(Judge(c.text, 1) == c.verdict);
        for (const bool bigEndian : {false, true}) {
            const bool isAscii = c.text[0] != '\x4C';
            if (isAscii) CHECK(Judge(Wide(c.text, bigEndian, true), 3) == c.verdict);
            if (c.text[0] == '<') CHECK(Judge(Wide(c.text, bigEndian, false), 1) == c.verdict);
        }
    }
    CHECK(Judge("\xEF\xBB\xBF<!DOCTYPE a [<!ENTITY b 'c'>]>") == XmlVerdict::UnsafeDtd);
    CHECK(Judge(std::string("<\0\0\0a\0\0\0", 8)) == XmlVerdict::Unreadable);  // UTF-32
}

TEST_CASE("depth counts open elements only") {
    CHECK(Judge(Nested(XmlGuard::kMaxDepth)) == XmlVerdict::Accepted);
    CHECK(Judge(Nested(XmlGuard::kMaxDepth + 1)) == XmlVerdict::TooDeep);
    CHECK(Judge(Nested(100'000)) == XmlVerdict::TooDeep);
    const std::string model(XmlGuard::kMaxDepth + 1, '(');
    CHECK(Judge("<!DOCTYPE a [<!ELEMENT a " + model) == XmlVerdict::TooDeep);
    std::string siblings = "<!DOCTYPE a [<!ELEMENT a (b,(c)*)*>]><a>";
    for (int i = 0; i < 1000; ++i) siblings += "<b/><c d='/' ></c><!-- <e> -->";
    CHECK(Judge(siblings + "</a>") == XmlVerdict::Accepted);
}

TEST_CASE("a DTD with much quoted text is refused: each element would be as much longer") {
    const auto document = [](size_t length) {
        return "<!DOCTYPE a [<!ATTLIST a b CDATA '" + std::string(length, 'x') + "'>]><a/>";
    };
    CHECK(Judge(document(XmlGuard::kMaxDtdText - 1)) == XmlVerdict::Accepted);
    CHECK(Judge(document(XmlGuard::kMaxDtdText)) == XmlVerdict::UnsafeDtd);
}

TEST_CASE("only encodings are read in which ASCII means ASCII") {
    const struct {
        const char* encoding;
        bool isRead;
    } cases[] = {
        {"UTF-8", true},         {"utf-16", true},       {"US-ASCII", true},     {"iso-8859-15", true},
        {"Windows-1252", true},  {"windows-874", true},  {"ISO-2022-JP", false}, {"UTF-7", false},
        {"iso-8859-", false},    {"iso-8859-1x", false}, {"windows-932", false}, {"windows-12520", false},
        {"EBCDIC-CP-US", false}, {"hz-gb-2312", false},  {"UTF-8x", false},      {"", false}};
    for (const auto& row : cases) {
        CAPTURE(row.encoding);
        const XmlVerdict expected = row.isRead ? XmlVerdict::Accepted : XmlVerdict::Unreadable;
        const std::string name = row.encoding;
        for (const std::string& head : {"<?xml version=\"1.0\" encoding=\"" + name + "\"?>",
                                        "<?xml version='1.0' encoding = '" + name + "' ?>",
                                        "\xEF\xBB\xBF<?xml\nversion='encoding=\"UTF-8\"'\tencoding='" + name +
                                            "' standalone='yes'?>"}) {
            CHECK(Judge(head + "<a/>") == expected);
            CHECK(Judge(Wide(head.substr(head.find('<')) + "<a/>", false, true), 3) == expected);
        }
    }
    CHECK(Judge("<?xml version='1.0'?><a/>") == XmlVerdict::Accepted);
    CHECK(Judge("<?xmlx encoding='UTF-7'?><a/>") == XmlVerdict::Accepted);
    CHECK(Judge("<?xml " + std::string(300, ' ') + "encoding='UTF-7'?><a/>") == XmlVerdict::Unreadable);
    CHECK(Judge("<a>\x1B$B</a>") == XmlVerdict::Unreadable);
}
