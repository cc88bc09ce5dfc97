// Finding and making the nodes of a configuration document.
#include <cwchar>

#include "config/config_document.h"

namespace cam::config {
namespace {

constexpr wchar_t kVersionKey[] = L"EXMVersion";
constexpr wchar_t kVersion[] = L"1.0.1";

DomDocument OwnerOf(IXMLDOMNode* node) {
    DomDocument owner;
    if (node && FAILED(node->get_ownerDocument(owner.put()))) owner.reset();
    return owner;
}

// Appends a new element, with a `name` attribute if one is given.
DomNode AppendElement(IXMLDOMDocument* owner, IXMLDOMNode* parent, const wchar_t* element,
                      const wchar_t* name) {
    ComPtr<IXMLDOMElement> created;
    if (FAILED(owner->createElement(Bstr(element).get(), created.put())) || !created) return {};
    if (name && !ConfigDocument::SetName(created.get(), name)) return {};
    DomNode appended;
    if (FAILED(parent->appendChild(created.get(), appended.put()))) return {};
    return appended;
}

// A deleted child of that name, brought back.
DomNode Revive(IXMLDOMNode* parent, const wchar_t* element, const wchar_t* name) {
    DomNode node = ConfigDocument::FindChild(parent, element, name, true);
    if (node && !ConfigDocument::Undelete(node.get())) node.reset();
    return node;
}

DomNode FirstTextOf(IXMLDOMNode* key) {
    DomNode child = ConfigDocument::FirstChild(key);
    while (child && !ConfigDocument::IsTextNode(child.get()))
        child = ConfigDocument::NextSibling(child.get());
    return child;
}

}  // namespace

DomNode ConfigDocument::FirstChild(IXMLDOMNode* parent) {
    DomNode child;
    if (parent && FAILED(parent->get_firstChild(child.put()))) child.reset();
    return child;
}

DomNode ConfigDocument::NextSibling(IXMLDOMNode* node) {
    DomNode next;
    if (FAILED(node->get_nextSibling(next.put()))) next.reset();
    return next;
}

DomNode ConfigDocument::FindChild(IXMLDOMNode* parent, const wchar_t* element, const wchar_t* name,
                                  bool includeDeleted) {
    for (DomNode child = FirstChild(parent); child; child = NextSibling(child.get())) {
        Bstr nodeName;
        if (FAILED(child->get_nodeName(nodeName.put())) || wcscmp(nodeName.text(), element) != 0) continue;
        if (name && !NameEquals(child.get(), name)) continue;
        if (includeDeleted || !IsDeleted(child.get())) return child;
    }
    return {};
}

DomNode ConfigDocument::FindSection(IXMLDOMNode* parent, const wchar_t* name) {
    return FindChild(parent, kSectionElement, name, false);
}

DomNode ConfigDocument::FindKey(IXMLDOMNode* parent, const wchar_t* name) {
    return FindChild(parent, kKeyElement, name, false);
}

DomNode ConfigDocument::FindReservedSection(IXMLDOMNode* docElement, const wchar_t* name) {
    return FindSection(FindChild(docElement, kReservedElement, nullptr, false).get(), name);
}

DomNode ConfigDocument::FindReservedKey(IXMLDOMNode* docElement, const wchar_t* name) {
    return FindKey(FindChild(docElement, kReservedElement, nullptr, false).get(), name);
}

DomNode ConfigDocument::GetSection(IXMLDOMNode* parent, const wchar_t* name, bool revive) {
    if (DomNode found = FindSection(parent, name)) return found;
    // Reviving and creating exclude each other: who asks for a section that once was must not get an empty
    // new one.
    if (revive) return Revive(parent, kSectionElement, name);
    const DomDocument owner = OwnerOf(parent);
    return owner ? AppendElement(owner.get(), parent, kSectionElement, name) : DomNode();
}

bool ConfigDocument::SetKeyValue(IXMLDOMNode* section, const wchar_t* name, const wchar_t* value,
                                 bool revive) {
    const DomDocument owner = OwnerOf(section);
    if (!owner) return false;
    DomNode key = FindKey(section, name);
    if (!key && revive) key = Revive(section, kKeyElement, name);
    if (!key) key = AppendElement(owner.get(), section, kKeyElement, name);
    if (!key) return false;

    if (const DomNode text = FirstTextOf(key.get()))
        return SUCCEEDED(text->put_nodeValue(Variant(value).get()));
    ComPtr<IXMLDOMText> text;
    if (FAILED(owner->createTextNode(Bstr(value).get(), text.put())) || !text) return false;
    return SUCCEEDED(key->appendChild(text.get(), nullptr));
}

bool ConfigDocument::GetKeyValue(IXMLDOMNode* key, UniqueText* text) {
    const DomNode child = FirstTextOf(key);
    Bstr value;
    if (!child || FAILED(child->get_text(value.put()))) return false;
    *text = CopyText(value.text());
    return true;
}

DomNode ConfigDocument::GetDocElement(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMElement> element;
    if (!document || FAILED(document->get_documentElement(element.put())) || !IsConfigDoc(element.get()))
        return {};
    return DomNode(element.get());
}

DomNode ConfigDocument::InitNewDocument(IXMLDOMDocument* document, const wchar_t* name) {
    ComPtr<IXMLDOMElement> existing;
    if (!document || FAILED(document->get_documentElement(existing.put())) || existing) return {};
    DomNode root = AppendElement(document, document, kConfigDocElement, name);
    if (!root) return {};
    const DomNode reserved = AppendElement(document, root.get(), kReservedElement, nullptr);
    if (!reserved || !SetKeyValue(reserved.get(), kVersionKey, kVersion, true)) return {};
    return root;
}

}  // namespace cam::config
