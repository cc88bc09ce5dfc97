// Any document, judged by the guard and then read by libxml2: what the guard lets through declares no entity,
// is no deeper than it says and holds no DTD that it has not seen, and what libxml2 finds well-formed and
// without any of that is let through.
#include <libxml/parser.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "config/xml_guard.h"

using namespace cam::config;

namespace {

void Require(bool condition) {
    if (!condition) abort();
}

// What libxml2 met, up to its first error.
struct Document {
    bool hasEntity = false, hasDtd = false, isWellFormed = false;
    int depth = 0, deepest = 0;
    size_t defaults = 0;  // characters of attributes' default values
};

Document& Met(void* context) {
    return *static_cast<Document*>(context);
}

// The callbacks are those of a parser that builds nothing and fetches nothing.
xmlSAXHandler Callbacks() {
    xmlSAXHandler calls = {};
    calls.internalSubset = [](void* to, const xmlChar*, const xmlChar*, const xmlChar*) {
        Met(to).hasDtd = true;
    };
    calls.entityDecl = [](void* to, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*) {
        Met(to).hasEntity = true;
    };
    calls.unparsedEntityDecl = [](void* to, const xmlChar*, const xmlChar*, const xmlChar*, const xmlChar*) {
        Met(to).hasEntity = true;
    };
    calls.attributeDecl = [](void* to, const xmlChar*, const xmlChar*, int, int, const xmlChar* value,
                             xmlEnumerationPtr choices) {
        if (value) Met(to).defaults += strlen(reinterpret_cast<const char*>(value));
        xmlFreeEnumeration(choices);
    };
    calls.startElement = [](void* to, const xmlChar*, const xmlChar**) {
        Met(to).deepest = std::max(Met(to).deepest, ++Met(to).depth);
    };
    calls.endElement = [](void* to, const xmlChar*) { --Met(to).depth; };
    return calls;
}

Document Read(const uint8_t* data, size_t size) {
    Document document;
    xmlSAXHandler calls = Callbacks();
    document.isWellFormed = xmlSAXUserParseMemory(&calls, &document, reinterpret_cast<const char*>(data),
                                                  static_cast<int>(size)) == 0;
    xmlResetLastError();
    return document;
}

XmlVerdict JudgeUnits(const uint8_t* data, size_t size) {
    XmlGuard guard;
    for (size_t i = 0; i < size; ++i) guard.AddUnit(data[i]);
    return guard.Verdict();
}

// A refusal has a reason: quoted text that is long, or an encoding that is not named.
void RequireReason(const Document& document, XmlVerdict verdict, const uint8_t* data, size_t size,
                   bool isAscii) {
    if (!document.isWellFormed || document.hasEntity || document.deepest > XmlGuard::kMaxDepth) return;
    if (verdict == XmlVerdict::UnsafeDtd) Require(document.hasDtd && size > XmlGuard::kMaxDtdText);
    if (verdict == XmlVerdict::TooDeep) Require(std::count(data, data + size, '(') > XmlGuard::kMaxDepth);
    if (verdict == XmlVerdict::Unreadable && isAscii) {
        const std::string_view text(reinterpret_cast<const char*>(data), size);
        Require(text.find("encoding") != text.npos || size > 200);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    XmlGuard whole;
    whole.AddBytes({data, size});
    XmlGuard pieces;
    for (size_t i = 0; i < size; i += 3) pieces.AddBytes({data + i, std::min<size_t>(3, size - i)});
    Require(whole.Verdict() == pieces.Verdict());
    const bool isAscii = std::all_of(data, data + size, [](uint8_t byte) { return byte > 0 && byte < 0x80; });
    if (isAscii && size > 1) Require(whole.Verdict() == JudgeUnits(data, size));

    const Document document = Read(data, size);
    if (whole.Verdict() == XmlVerdict::Accepted) {
        Require(!document.hasEntity && document.deepest <= XmlGuard::kMaxDepth);
        Require(document.hasDtd <= whole.HasDtd());
        Require(document.defaults <= XmlGuard::kMaxDtdText);
    } else {
        RequireReason(document, whole.Verdict(), data, size, isAscii);
    }
    return 0;
}
