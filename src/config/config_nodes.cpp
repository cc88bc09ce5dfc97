// Questions to the nodes of a configuration document.
#include "config/config_document.h"

#include <cwchar>

#include "config/dom_ids.h"

namespace cam::config {
namespace {

constexpr int kNumberLength = 16;  // "%d" of 32 bits, and the terminator

bool IsElementNamed(IXMLDOMNode* node, const wchar_t* name) {
    DOMNodeType type = NODE_INVALID;
    if (!node || FAILED(node->get_nodeType(&type)) || type != NODE_ELEMENT) return false;
    Bstr nodeName;
    return SUCCEEDED(node->get_nodeName(nodeName.put())) && wcscmp(nodeName.text(), name) == 0;
}

// Empty when the node is no element.
ComPtr<IXMLDOMElement> ElementOf(IXMLDOMNode* node) {
    ComPtr<IXMLDOMElement> element;
    if (node && FAILED(node->QueryInterface(kIidDomElement, element.putVoid()))) element.reset();
    return element;
}

bool ReadAttribute(IXMLDOMNode* node, const wchar_t* attribute, Variant* value) {
    const ComPtr<IXMLDOMElement> element = ElementOf(node);
    // A missing attribute is a success without a string.
    return element && SUCCEEDED(element->getAttribute(Bstr(attribute).get(), value->put())) && value->text();
}

bool ReadNumber(IXMLDOMNode* node, const wchar_t* attribute, int* number) {
    Variant value;
    if (!ReadAttribute(node, attribute, &value)) return false;
    *number = static_cast<int>(_wtol(value.text()));
    return true;
}

bool WriteNumber(IXMLDOMNode* node, const wchar_t* attribute, int number) {
    wchar_t text[kNumberLength];
    _snwprintf(text, kNumberLength, L"%d", number);
    return ConfigDocument::SetAttribute(node, attribute, text);
}

int FlagsOf(IXMLDOMNode* node) {
    int flags = 0;
    return ReadNumber(node, L"flags", &flags) ? flags : 0;
}

}  // namespace

bool ConfigDocument::IsSection(IXMLDOMNode* node) {
    return IsElementNamed(node, kSectionElement);
}
bool ConfigDocument::IsKey(IXMLDOMNode* node) {
    return IsElementNamed(node, kKeyElement);
}
bool ConfigDocument::IsConfigDoc(IXMLDOMNode* node) {
    return IsElementNamed(node, kConfigDocElement);
}
bool ConfigDocument::IsReserved(IXMLDOMNode* node) {
    return IsElementNamed(node, kReservedElement);
}

bool ConfigDocument::IsTextNode(IXMLDOMNode* node) {
    DOMNodeType type = NODE_INVALID;
    return node && SUCCEEDED(node->get_nodeType(&type)) && (type == NODE_TEXT || type == NODE_CDATA_SECTION);
}

bool ConfigDocument::GetAttribute(IXMLDOMNode* node, const wchar_t* attribute, UniqueText* text) {
    Variant value;
    if (!ReadAttribute(node, attribute, &value)) return false;
    *text = CopyText(value.text());
    return true;
}

bool ConfigDocument::SetAttribute(IXMLDOMNode* node, const wchar_t* attribute, const wchar_t* text) {
    const ComPtr<IXMLDOMElement> element = ElementOf(node);
    return element && SUCCEEDED(element->setAttribute(Bstr(attribute).get(), Variant(text).get()));
}

bool ConfigDocument::NameEquals(IXMLDOMNode* node, const wchar_t* name) {
    Variant value;
    return ReadAttribute(node, L"name", &value) && wcscmp(value.text(), name) == 0;
}

bool ConfigDocument::GetFlags(IXMLDOMNode* node, int* flags) {
    return ReadNumber(node, L"flags", flags);
}
bool ConfigDocument::SetFlags(IXMLDOMNode* node, int flags) {
    return WriteNumber(node, L"flags", flags);
}
bool ConfigDocument::GetType(IXMLDOMNode* node, int* type) {
    return ReadNumber(node, L"type", type);
}
bool ConfigDocument::SetType(IXMLDOMNode* node, int type) {
    return WriteNumber(node, L"type", type);
}

int ConfigDocument::GetKeyType(IXMLDOMNode* node) {
    int type = 0;
    return IsKey(node) && GetType(node, &type) ? type : 0;
}

bool ConfigDocument::IsDeleted(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagDeleted) != 0;
}
bool ConfigDocument::MarkDeleted(IXMLDOMNode* node) {
    return SetFlags(node, FlagsOf(node) | kFlagDeleted);
}
bool ConfigDocument::Undelete(IXMLDOMNode* node) {
    return SetFlags(node, FlagsOf(node) & ~kFlagDeleted);
}
bool ConfigDocument::HasPair(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagPair) != 0;
}
bool ConfigDocument::IsPairFirst(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagPair) == kFlagPairFirst;
}
bool ConfigDocument::IsPairSecond(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagPair) == kFlagPairSecond;
}
bool ConfigDocument::IsPairBoth(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagPair) == kFlagPair;
}
bool ConfigDocument::HasBit3(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagBit3) != 0;
}
bool ConfigDocument::HasBit4(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagBit4) != 0;
}
bool ConfigDocument::IsReported(IXMLDOMNode* node) {
    return (FlagsOf(node) & kFlagReported) != 0;
}
int ConfigDocument::GetField(IXMLDOMNode* node) {
    return FlagsOf(node) & kFlagField;
}

bool ConfigDocument::SetField(IXMLDOMNode* node, int field) {
    return SetFlags(node, (FlagsOf(node) & ~kFlagField) | (field & kFlagField));
}

}  // namespace cam::config
