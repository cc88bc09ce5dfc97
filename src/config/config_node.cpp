// Questions to the nodes of a configuration document.
#include "config/config_node.h"

#include <cwchar>

#include "config/dom_ids.h"

namespace cam::config {
namespace {

constexpr int kNumberLength = 16;  // "%d" of 32 bits, and the terminator

// Empty when the node is no element.
ComPtr<IXMLDOMElement> ElementOf(IXMLDOMNode* node) {
    ComPtr<IXMLDOMElement> element;
    if (node && FAILED(node->QueryInterface(kIidDomElement, element.putVoid()))) element.reset();
    return element;
}

bool ReadAttribute(IXMLDOMNode* node, const wchar_t* attribute, Variant* value) {
    const ComPtr<IXMLDOMElement> element = ElementOf(node);
    // A missing attribute is a success without a string.
    return element &&
           SUCCEEDED(ThrowIfNoMemory(element->getAttribute(Bstr(attribute).get(), value->put()))) &&
           value->text();
}

}  // namespace

bool ConfigNode::IsElementNamed(const wchar_t* name) const {
    DOMNodeType type = NODE_INVALID;
    if (!node || FAILED(node->get_nodeType(&type)) || type != NODE_ELEMENT) return false;
    Bstr nodeName;
    return SUCCEEDED(node->get_nodeName(nodeName.put())) && wcscmp(nodeName.text(), name) == 0;
}

bool ConfigNode::IsTextNode() const {
    DOMNodeType type = NODE_INVALID;
    return node && SUCCEEDED(node->get_nodeType(&type)) && (type == NODE_TEXT || type == NODE_CDATA_SECTION);
}

UniqueText ConfigNode::GetAttribute(const wchar_t* attribute) const {
    Variant value;
    return ReadAttribute(get(), attribute, &value) ? CopyText(value.text()) : UniqueText();
}

bool ConfigNode::SetAttribute(const wchar_t* attribute, const wchar_t* text) const {
    const ComPtr<IXMLDOMElement> element = ElementOf(get());
    return element && SUCCEEDED(element->setAttribute(Bstr(attribute).get(), Variant(text).get()));
}

bool ConfigNode::NameEquals(const wchar_t* name) const {
    Variant value;
    return ReadAttribute(get(), L"name", &value) && wcscmp(value.text(), name) == 0;
}

std::optional<int> ConfigNode::ReadNumber(const wchar_t* attribute) const {
    Variant value;
    if (!ReadAttribute(get(), attribute, &value)) return std::nullopt;
    return static_cast<int>(_wtol(value.text()));
}

bool ConfigNode::WriteNumber(const wchar_t* attribute, int number) const {
    wchar_t text[kNumberLength];
    _snwprintf(text, kNumberLength, L"%d", number);
    return SetAttribute(attribute, text);
}

bool ConfigNode::SetField(int field) const {
    return SetFlags((FlagsOrNone() & ~kFlagField) | (field & kFlagField));
}

}  // namespace cam::config
