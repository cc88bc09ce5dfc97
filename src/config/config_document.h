// The model over an XML configuration document: ConfigDoc, Section and Key elements with their attributes.
#pragma once

#include <windows.h>
#include <msxml.h>

#include "base/automation.h"
#include "base/com_ptr.h"
#include "config/unique_text.h"

namespace cam::config {

using DomDocument = ComPtr<IXMLDOMDocument>;
using DomNode = ComPtr<IXMLDOMNode>;

// Names in the document. Compared exactly.
inline constexpr wchar_t kConfigDocElement[] = L"ConfigDoc";
inline constexpr wchar_t kReservedElement[] = L"QVXReserved";
inline constexpr wchar_t kSectionElement[] = L"Section";
inline constexpr wchar_t kKeyElement[] = L"Key";

// Bits of the `flags` attribute. What those above the first mean is known to the applications that write
// the files.
enum ConfigFlags : int {
    kFlagDeleted = 0x1,
    kFlagPairFirst = 0x2,  // the two bits of the pair are tested on their own and together
    kFlagPairSecond = 0x4,
    kFlagPair = 0x6,
    kFlagBit3 = 0x8,
    kFlagBit4 = 0x10,
    kFlagReported = 0x20,  // the settings store hands it to its caller with each value
    kFlagField = 0x300,
};

// All functions stand alone: a node is the document's, and keeps it alive. Documents and nodes are used by
// one thread at a time. Lookups answer with an empty pointer for what is missing, deleted or misnamed;
// nothing fails but by a false or empty result, and by HresultError when no memory is left for a string. A
// null node is a node without name, attributes and children.
class ConfigDocument {
  public:
    // ---- Questions to a node ----

    static bool IsSection(IXMLDOMNode* node);
    static bool IsKey(IXMLDOMNode* node);
    static bool IsConfigDoc(IXMLDOMNode* node);
    static bool IsReserved(IXMLDOMNode* node);
    static bool IsTextNode(IXMLDOMNode* node);  // text or CDATA

    // The attribute's text, or false when there is none. `*text` is the caller's.
    static bool GetAttribute(IXMLDOMNode* node, const wchar_t* attribute, UniqueText* text);
    static bool SetAttribute(IXMLDOMNode* node, const wchar_t* attribute, const wchar_t* text);
    static bool GetName(IXMLDOMNode* node, UniqueText* text) { return GetAttribute(node, L"name", text); }
    static bool SetName(IXMLDOMNode* node, const wchar_t* text) { return SetAttribute(node, L"name", text); }
    static bool GetDescription(IXMLDOMNode* node, UniqueText* text) {
        return GetAttribute(node, L"desc", text);
    }
    static bool SetDescription(IXMLDOMNode* node, const wchar_t* text) {
        return SetAttribute(node, L"desc", text);
    }
    static bool GetMinimum(IXMLDOMNode* node, UniqueText* text) { return GetAttribute(node, L"min", text); }
    static bool SetMinimum(IXMLDOMNode* node, const wchar_t* text) {
        return SetAttribute(node, L"min", text);
    }
    static bool GetMaximum(IXMLDOMNode* node, UniqueText* text) { return GetAttribute(node, L"max", text); }
    static bool SetMaximum(IXMLDOMNode* node, const wchar_t* text) {
        return SetAttribute(node, L"max", text);
    }
    static bool GetList(IXMLDOMNode* node, UniqueText* text) { return GetAttribute(node, L"list", text); }
    static bool SetList(IXMLDOMNode* node, const wchar_t* text) { return SetAttribute(node, L"list", text); }
    static bool NameEquals(IXMLDOMNode* node, const wchar_t* name);

    // The decimal number at the start of the attribute ("0x8" is 0), or false when there is none.
    static bool GetFlags(IXMLDOMNode* node, int* flags);
    static bool SetFlags(IXMLDOMNode* node, int flags);
    static bool GetType(IXMLDOMNode* node, int* type);
    static bool SetType(IXMLDOMNode* node, int type);
    static int GetKeyType(IXMLDOMNode* node);  // 0 for anything but a Key with a type

    // A node without flags has none set.
    static bool IsDeleted(IXMLDOMNode* node);
    static bool MarkDeleted(IXMLDOMNode* node);
    static bool Undelete(IXMLDOMNode* node);
    static bool HasPair(IXMLDOMNode* node);       // any of kFlagPair
    static bool IsPairFirst(IXMLDOMNode* node);   // exactly kFlagPairFirst of it
    static bool IsPairSecond(IXMLDOMNode* node);  // exactly kFlagPairSecond of it
    static bool IsPairBoth(IXMLDOMNode* node);    // both
    static bool HasBit3(IXMLDOMNode* node);
    static bool HasBit4(IXMLDOMNode* node);
    static bool IsReported(IXMLDOMNode* node);
    static int GetField(IXMLDOMNode* node);              // the bits of kFlagField, where they stand
    static bool SetField(IXMLDOMNode* node, int field);  // keeps all other bits

    // ---- Lookups ----

    // The children of a node one after another, of whatever kind.
    static DomNode FirstChild(IXMLDOMNode* parent);
    static DomNode NextSibling(IXMLDOMNode* node);

    // The first child of that element name and, if `name` is given, that `name` attribute.
    static DomNode FindChild(IXMLDOMNode* parent, const wchar_t* element, const wchar_t* name,
                             bool includeDeleted);
    static DomNode FindSection(IXMLDOMNode* parent, const wchar_t* name);
    static DomNode FindKey(IXMLDOMNode* parent, const wchar_t* name);
    static DomNode FindReservedSection(IXMLDOMNode* docElement, const wchar_t* name);
    static DomNode FindReservedKey(IXMLDOMNode* docElement, const wchar_t* name);

    // The section of that name. When there is none: with `revive` a deleted one is brought back, and none
    // is created; without, a new one is appended, whether or not there is a deleted one.
    static DomNode GetSection(IXMLDOMNode* parent, const wchar_t* name, bool revive);

    // Gives the key of that name a value. When there is none, a deleted one is brought back if `revive`
    // says so, else one is created.
    static bool SetKeyValue(IXMLDOMNode* section, const wchar_t* name, const wchar_t* value, bool revive);

    // The text of the key's first text or CDATA child as the parser gives it (of a text node without the
    // white space around it), or false when there is none. `*text` is the caller's.
    static bool GetKeyValue(IXMLDOMNode* key, UniqueText* text);

    // ---- Documents ----

    // The document element if it is a ConfigDoc.
    static DomNode GetDocElement(IXMLDOMDocument* document);

    // Gives an empty document its ConfigDoc element; none, and nothing changed, for one that has a document
    // element.
    static DomNode InitNewDocument(IXMLDOMDocument* document, const wchar_t* name);

    // An empty document, or none. Initialises COM for the process the first time.
    static DomDocument CreateDocument();

    // Loading and saving write a reason to `error`, `size` characters with the terminator, cut to fit;
    // `error` may be null. A document with quoted text in its DTD (an entity, a default value, a name
    // outside the document) or with elements nested more than 256 deep is refused like one with an error.
    static DomDocument LoadXMLDocument(const wchar_t* fileName, wchar_t* error, int size);
    static DomDocument LoadXMLString(const wchar_t* text, wchar_t* error, int size);
    static DomDocument LoadXMLString(const char* text, wchar_t* error,
                                     int size);  // in the C library's multibyte encoding
    static bool SaveXMLDocument(IXMLDOMDocument* document, const wchar_t* fileName, wchar_t* error, int size);
    static void ReleaseDocument(DomDocument* document) { document->reset(); }
};

}  // namespace cam::config
