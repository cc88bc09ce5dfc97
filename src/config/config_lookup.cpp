// Finding and making the nodes of a configuration document.
#include "config/config_node.h"

#include <cwchar>

namespace cam::config {
namespace {

ComPtr<IXMLDOMDocument> OwnerOf(IXMLDOMNode* node) {
    ComPtr<IXMLDOMDocument> owner;
    if (node && FAILED(node->get_ownerDocument(owner.put()))) owner.reset();
    return owner;
}

}  // namespace

ConfigNode AppendElement(IXMLDOMDocument* owner, IXMLDOMNode* parent, const wchar_t* element,
                         const wchar_t* name) {
    ComPtr<IXMLDOMElement> created;
    if (FAILED(owner->createElement(Bstr(element).get(), created.put())) || !created) return {};
    if (name && !ConfigNode(created.get()).SetName(name)) return {};
    ConfigNode appended;
    if (FAILED(parent->appendChild(created.get(), appended.put()))) return {};
    return appended;
}

// A deleted child of that name, brought back.
ConfigNode ConfigNode::Revive(const wchar_t* element, const wchar_t* name) const {
    const ConfigNode found = FindChild(element, name, true);
    return found && found.Undelete() ? found : ConfigNode();
}

ConfigNode ConfigNode::FirstText() const {
    ConfigNode child = FirstChild();
    while (child && !child.IsTextNode()) child = child.NextSibling();
    return child;
}

ConfigNode ConfigNode::FirstChild() const {
    ConfigNode child;
    if (node && FAILED(ThrowIfNoMemory(node->get_firstChild(child.put())))) return {};
    return child;
}

ConfigNode ConfigNode::NextSibling() const {
    ConfigNode next;
    if (node && FAILED(ThrowIfNoMemory(node->get_nextSibling(next.put())))) return {};
    return next;
}

ConfigNode ConfigNode::FindChild(const wchar_t* element, const wchar_t* name, bool includeDeleted) const {
    for (ConfigNode child = FirstChild(); child; child = child.NextSibling()) {
        Bstr nodeName;
        if (FAILED(child.get()->get_nodeName(nodeName.put())) || wcscmp(nodeName.text(), element) != 0)
            continue;
        if (name && !child.NameEquals(name)) continue;
        if (includeDeleted || !child.IsDeleted()) return child;
    }
    return {};
}

ConfigNode ConfigNode::GetSection(const wchar_t* name, bool revive) const {
    if (ConfigNode found = FindSection(name)) return found;
    // Reviving and creating exclude each other: who asks for a section that once was must not get an empty
    // new one.
    if (revive) return Revive(kSectionElement, name);
    const ComPtr<IXMLDOMDocument> owner = OwnerOf(get());
    return owner ? AppendElement(owner.get(), get(), kSectionElement, name) : ConfigNode();
}

bool ConfigNode::SetKeyValue(const wchar_t* name, const wchar_t* value, bool revive) const {
    const ComPtr<IXMLDOMDocument> owner = OwnerOf(get());
    if (!owner) return false;
    ConfigNode key = FindKey(name);
    if (!key && revive) key = Revive(kKeyElement, name);
    if (!key) key = AppendElement(owner.get(), get(), kKeyElement, name);
    if (!key) return false;

    if (const ConfigNode text = key.FirstText())
        return SUCCEEDED(text.get()->put_nodeValue(Variant(value).get()));
    ComPtr<IXMLDOMText> text;
    if (FAILED(owner->createTextNode(Bstr(value).get(), text.put())) || !text) return false;
    return SUCCEEDED(key.get()->appendChild(text.get(), nullptr));
}

UniqueText ConfigNode::GetKeyValue() const {
    const ConfigNode child = FirstText();
    Bstr value;
    if (!child || FAILED(child.get()->get_text(value.put()))) return {};
    return CopyText(value.text());
}

}  // namespace cam::config
