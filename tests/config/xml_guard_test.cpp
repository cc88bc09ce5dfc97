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
        guard.AddBytes(reinterpret_cast<const unsigned char*>(part.data()), part.size());
    }
    return guard.verdict();
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

TEST_CASE("a DTD that quotes something is seen wherever it stands, and only where it stands") {
    struct Case {
        const char* text;
        XmlVerdict verdict;
    };
    for (const Case& c :
         {Case{"<?xml version=\"1.0\"?><!DOCTYPE a SYSTEM \"x\"><a/>", XmlVerdict::kUnsafeDtd},
          {"<!-- -- ><!-- --><!DOCTYPE a SYSTEM 'x'><a/>", XmlVerdict::kUnsafeDtd},
          {"<!--><!DOCTYPE a SYSTEM 'x'>--><a/>", XmlVerdict::kAccepted},
          {"<!---><!DOCTYPE a SYSTEM 'x'>--><a/>", XmlVerdict::kAccepted},
          {"<?a ?><!DOCTYPE a SYSTEM 'x'><a/>", XmlVerdict::kUnsafeDtd},
          {"<?a <!DOCTYPE a SYSTEM 'x'> ?><a/>", XmlVerdict::kAccepted},
          {"<a><!-- <!DOCTYPE a SYSTEM 'x'> --></a>", XmlVerdict::kAccepted},
          {"<a><![CDATA[<!DOCTYPE a SYSTEM 'x'>]]></a>", XmlVerdict::kAccepted},
          {"<a><![CDATA[]]]><!DOCTYPE a></a>", XmlVerdict::kUnsafeDtd},
          {"<a b='<!DOCTYPE a>' c=\"'<!DOCTYPE\"/>", XmlVerdict::kAccepted},
          // Its own parts: what would be more than the document says has quotation marks.
          {"<!DOCTYPE a><a b='c'/>", XmlVerdict::kAccepted},
          {"<!DOCTYPE a [<!ELEMENT a (b|c)*><!ATTLIST a d CDATA #IMPLIED>]><a/>", XmlVerdict::kAccepted},
          {"<!DOCTYPE a [<!-- it's ]> --><?b it's ]> ?>] ><a>'</a>", XmlVerdict::kAccepted},
          {"<!DOCTYPE a [<!ENTITY b 'c'>]><a/>", XmlVerdict::kUnsafeDtd},
          {"<!DOCTYPE a [<!ATTLIST a b CDATA \"c\">]><a/>", XmlVerdict::kUnsafeDtd},
          {"<!DOCTYPE a [<!-- ]> <b c=' --><!ENTITY d \"e\"><!-- '> -->]><a/>", XmlVerdict::kUnsafeDtd},
          {"<!DOCTYPE a [<![INCLUDE[]]><!ENTITY b 'c'>]><a/>", XmlVerdict::kUnsafeDtd},
          {"<!DOCTYPE a [<b>]><a/>", XmlVerdict::kUnsafeDtd},
          {"<!DOCTYPE a><!DOCTYPE a><a/>", XmlVerdict::kUnsafeDtd},
          {"<a><!DOCTYPE a></a>", XmlVerdict::kUnsafeDtd},
          {" \r\n\t<a/>", XmlVerdict::kAccepted},
          {"", XmlVerdict::kAccepted},
          {"no xml", XmlVerdict::kAccepted},  // the parser's to refuse
          {"no xml <!DOCTYPE a SYSTEM 'x'>", XmlVerdict::kUnsafeDtd},
          {"\x4C\x6F\xA7\x94", XmlVerdict::kUnreadable}}) {  // "<?xm" in EBCDIC
        CAPTURE(c.text);
        CHECK(Judge(c.text) == c.verdict);
        CHECK(Judge(c.text, 1) == c.verdict);
        for (const bool bigEndian : {false, true}) {
            const bool isAscii = c.text[0] != '\x4C';
            if (isAscii) CHECK(Judge(Wide(c.text, bigEndian, true), 3) == c.verdict);
            if (c.text[0] == '<') CHECK(Judge(Wide(c.text, bigEndian, false), 1) == c.verdict);
        }
    }
    CHECK(Judge("\xEF\xBB\xBF<!DOCTYPE a SYSTEM 'x'>") == XmlVerdict::kUnsafeDtd);
    CHECK(Judge(std::string("<\0\0\0a\0\0\0", 8)) == XmlVerdict::kUnreadable);  // UTF-32
}

TEST_CASE("depth counts open elements only") {
    CHECK(Judge(Nested(XmlGuard::kMaximumDepth)) == XmlVerdict::kAccepted);
    CHECK(Judge(Nested(XmlGuard::kMaximumDepth + 1)) == XmlVerdict::kTooDeep);
    CHECK(Judge(Nested(100'000)) == XmlVerdict::kTooDeep);
    const std::string model(XmlGuard::kMaximumDepth + 1, '(');
    CHECK(Judge("<!DOCTYPE a [<!ELEMENT a " + model) == XmlVerdict::kTooDeep);
    std::string siblings = "<!DOCTYPE a [<!ELEMENT a (b,(c)*)*>]><a>";
    for (int i = 0; i < 1000; ++i) siblings += "<b/><c d='/' ></c><!-- <e> -->";
    CHECK(Judge(siblings + "</a>") == XmlVerdict::kAccepted);
}
