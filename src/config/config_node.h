// A node of an XML configuration document: ConfigDoc, Section and Key elements with their attributes.
#pragma once

#include <windows.h>
#include <msxml.h>

#include <optional>

#include "base/com_ptr.h"
#include "config/unique_text.h"

namespace cam::config {

// Names in the document. Compared exactly.
inline constexpr wchar_t kConfigDocElement[] = L"ConfigDoc";
inline constexpr wchar_t kReservedElement[] = L"QVXReserved";
inline constexpr wchar_t kSectionElement[] = L"Section";
inline constexpr wchar_t kKeyElement[] = L"Key";

// Bits of the `flags` attribute. What those above the first mean is known to the applications that write
// the files.
inline constexpr int kFlagDeleted = 0x1;
inline constexpr int kFlagPairFirst = 0x2;  // the two bits of the pair are tested on their own and together
inline constexpr int kFlagPairSecond = 0x4;
inline constexpr int kFlagPair = kFlagPairFirst | kFlagPairSecond;
inline constexpr int kFlagBit3 = 0x8;
inline constexpr int kFlagBit4 = 0x10;
inline constexpr int kFlagReported = 0x20;  // the settings store hands it to its caller with each value
inline constexpr int kFlagField = 0x300;

// A reference to a node, which keeps the document alive. No node is one without name, attributes and
// children. Documents and their nodes are used by one thread at a time. Lookups answer with no node for what
// is missing, deleted or misnamed; nothing fails but by a false or empty result, and by HresultError when no
// memory is left.
class ConfigNode {
  public:
    ConfigNode() = default;
    explicit ConfigNode(IXMLDOMNode* borrowed) : node(borrowed) {}

    explicit operator bool() const { return static_cast<bool>(node); }
    IXMLDOMNode* get() const { return node.get(); }

    // For functions that hand out a node.
    IXMLDOMNode** put() { return node.put(); }

    // ---- Questions, in config_node.cpp ----

    bool IsSection() const { return IsElementNamed(kSectionElement); }
    bool IsKey() const { return IsElementNamed(kKeyElement); }
    bool IsConfigDoc() const { return IsElementNamed(kConfigDocElement); }
    bool IsReserved() const { return IsElementNamed(kReservedElement); }
    bool IsTextNode() const;  // text or CDATA

    // The attribute's text; empty when there is none.
    UniqueText GetAttribute(const wchar_t* attribute) const;
    bool SetAttribute(const wchar_t* attribute, const wchar_t* text) const;
    UniqueText GetName() const { return GetAttribute(L"name"); }
    bool SetName(const wchar_t* text) const { return SetAttribute(L"name", text); }
    UniqueText GetDescription() const { return GetAttribute(L"desc"); }
    bool SetDescription(const wchar_t* text) const { return SetAttribute(L"desc", text); }
    UniqueText GetMinimum() const { return GetAttribute(L"min"); }
    bool SetMinimum(const wchar_t* text) const { return SetAttribute(L"min", text); }
    UniqueText GetMaximum() const { return GetAttribute(L"max"); }
    bool SetMaximum(const wchar_t* text) const { return SetAttribute(L"max", text); }
    UniqueText GetList() const { return GetAttribute(L"list"); }
    bool SetList(const wchar_t* text) const { return SetAttribute(L"list", text); }
    bool NameEquals(const wchar_t* name) const;

    // The decimal number at the start of the attribute ("0x8" is 0).
    std::optional<int> GetFlags() const { return ReadNumber(L"flags"); }
    bool SetFlags(int flags) const { return WriteNumber(L"flags", flags); }
    std::optional<int> GetType() const { return ReadNumber(L"type"); }
    bool SetType(int type) const { return WriteNumber(L"type", type); }
    int GetKeyType() const { return IsKey() ? GetType().value_or(0) : 0; }

    // A node without flags has none set.
    bool IsDeleted() const { return HasAny(kFlagDeleted); }
    bool MarkDeleted() const { return SetFlags(FlagsOrNone() | kFlagDeleted); }
    bool Undelete() const { return SetFlags(FlagsOrNone() & ~kFlagDeleted); }
    bool HasPair() const { return HasAny(kFlagPair); }
    bool IsPairFirst() const { return (FlagsOrNone() & kFlagPair) == kFlagPairFirst; }
    bool IsPairSecond() const { return (FlagsOrNone() & kFlagPair) == kFlagPairSecond; }
    bool IsPairBoth() const { return (FlagsOrNone() & kFlagPair) == kFlagPair; }
    bool HasBit3() const { return HasAny(kFlagBit3); }
    bool HasBit4() const { return HasAny(kFlagBit4); }
    bool IsReported() const { return HasAny(kFlagReported); }
    int GetField() const { return FlagsOrNone() & kFlagField; }  // the bits, where they stand
    bool SetField(int field) const;                              // keeps all other bits

    // ---- Lookups, in config_lookup.cpp ----

    // The children one after another, of whatever kind.
    ConfigNode FirstChild() const;
    ConfigNode NextSibling() const;

    // The first child of that element name and, if `name` is given, that `name` attribute.
    ConfigNode FindChild(const wchar_t* element, const wchar_t* name, bool includeDeleted) const;
    ConfigNode FindSection(const wchar_t* name) const { return FindChild(kSectionElement, name, false); }
    ConfigNode FindKey(const wchar_t* name) const { return FindChild(kKeyElement, name, false); }

    // Inside the reserved part of a document element.
    ConfigNode FindReservedSection(const wchar_t* name) const { return Reserved().FindSection(name); }
    ConfigNode FindReservedKey(const wchar_t* name) const { return Reserved().FindKey(name); }

    // The section of that name. When there is none: with `revive` a deleted one is brought back, and none
    // is created; without, a new one is appended, whether or not there is a deleted one.
    ConfigNode GetSection(const wchar_t* name, bool revive) const;

    // Gives the key of that name in this section a value. When there is none, a deleted one is brought back
    // if `revive` says so, else one is created.
    bool SetKeyValue(const wchar_t* name, const wchar_t* value, bool revive) const;

    // The text of the key's first text or CDATA child as the parser gives it (of a text node without the
    // white space around it); empty when there is none.
    UniqueText GetKeyValue() const;

  private:
    bool IsElementNamed(const wchar_t* name) const;
    std::optional<int> ReadNumber(const wchar_t* attribute) const;
    bool WriteNumber(const wchar_t* attribute, int number) const;
    int FlagsOrNone() const { return GetFlags().value_or(0); }
    bool HasAny(int bits) const { return (FlagsOrNone() & bits) != 0; }

    ConfigNode Reserved() const { return FindChild(kReservedElement, nullptr, false); }
    ConfigNode Revive(const wchar_t* element, const wchar_t* name) const;
    ConfigNode FirstText() const;

    ComPtr<IXMLDOMNode> node;
};

// Appends a new element, with a `name` attribute if one is given.
ConfigNode AppendElement(IXMLDOMDocument* owner, IXMLDOMNode* parent, const wchar_t* element,
                         const wchar_t* name);

}  // namespace cam::config
