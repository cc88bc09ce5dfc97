#include "emulator/graph/dom.h"

#include <pugixml.hpp>

#include "emulator/devices.h"

namespace ce {

namespace {

const Guid kIidNode = ParseGuid("2933BF80-7B36-11D2-B20E-00C04F983E60");
const Guid kIidDocument = ParseGuid("2933BF81-7B36-11D2-B20E-00C04F983E60");
const Guid kIidElement = ParseGuid("2933BF86-7B36-11D2-B20E-00C04F983E60");
const Guid kIidParseError = ParseGuid("3EFAA426-272F-11D2-836F-0000F87A7782");
const Guid kIidObjectSafety = ParseGuid("CB5BDC81-93C1-11CF-8F20-00805F2CD064");
constexpr u16 kTrue = 0xFFFF, kNo = 0, kVariantNull = 1, kVariantBstr = 8;
constexpr u32 kSafetyOptions = 3;
// White space between elements is dropped, comments and instructions are nodes.
constexpr unsigned kParsing =
    pugi::parse_default | pugi::parse_comments | pugi::parse_pi | pugi::parse_doctype;

std::u16string Wide(const char* text) {
    std::u16string units;
    for (const wchar_t c : pugi::as_wide(text)) {
        if (c < 0x10000) {
            units.push_back(static_cast<char16_t>(c));
        } else {
            units.push_back(static_cast<char16_t>(0xD7C0 + (c >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        }
    }
    return units;
}

std::string NarrowText(const std::u16string& units) {
    std::wstring wide(units.begin(), units.end());
    return pugi::as_utf8(wide);
}

u32 TypeOf(pugi::xml_node node) {
    switch (node.type()) {
        case pugi::node_element:
            return 1;
        case pugi::node_pcdata:
            return 3;
        case pugi::node_cdata:
            return 4;
        case pugi::node_pi:
            return 7;
        case pugi::node_comment:
            return 8;
        case pugi::node_doctype:
            return 10;
        default:
            return 0;
    }
}

std::u16string NameOf(pugi::xml_node node) {
    switch (node.type()) {
        case pugi::node_pcdata:
            return u"#text";
        case pugi::node_cdata:
            return u"#cdata-section";
        case pugi::node_comment:
            return u"#comment";
        default:
            return Wide(node.name());
    }
}

void AddUnused(std::vector<MethodEntry>& methods, std::initializer_list<const char*> names) {
    for (const char* name : names) methods.push_back(Unused(name));
}

class Document;

class Node final : public HostObject {
  public:
    Node(Process& owner, Document& whole, pugi::xml_node element);

  private:
    std::vector<MethodEntry> NodeMethods();
    u32 GiveText(u32 out, const std::u16string& text) {
        const u32 copy = AllocateBstr(process, text);
        machine.Write(out, copy);
        return copy ? kOk : kOutOfMemory;
    }
    u32 GiveNode(u32 out, pugi::xml_node node);

    Document& document;
    pugi::xml_node node;
};

class ParseError final : public HostObject {
  public:
    explicit ParseError(Process& owner) : HostObject(owner, "parse error", Listed::Unseen) {
        std::vector<MethodEntry> methods;
        AddUnused(methods, {"GetTypeInfoCount", "GetTypeInfo", "GetIDsOfNames", "Invoke"});
        methods.push_back(
            Method("get_errorCode", [this](u32 out) -> u32 { return machine.Write(out, code), kOk; }));
        methods.push_back(Unused("get_url"));
        methods.push_back(Method("get_reason", [this](u32 out) -> u32 {
            const u32 text = AllocateBstr(process, Wide(reason.c_str()));
            return machine.Write(out, text), text ? kOk : kOutOfMemory;
        }));
        AddUnused(methods, {"get_srcText", "get_line", "get_linepos", "get_filepos"});
        Implement(kIidParseError, "IXMLDOMParseError", std::move(methods));
    }
    u32 code = 0;
    std::string reason;
};

class Document final : public HostObject {
  public:
    Document(Process& owner, Parser& home);
    // The node's object, with a reference; 0 for no node.
    u32 Give(pugi::xml_node node, const Guid& iid) {
        if (!node) return 0;
        auto& object = nodes[node.hash_value()];
        if (!object) object = std::make_unique<Node>(process, *this, node);
        return object->Query(iid);
    }

  private:
    u32 Load(u32 out, const pugi::xml_parse_result& result) {
        error.code = result ? 0 : 0xC00CE000 + static_cast<u32>(result.status);
        error.reason = result ? "" : result.description();
        machine.Write(out, result ? kTrue : kNo);
        return result ? kOk : kFalse;
    }

    Parser& parser;
    pugi::xml_document document;
    ParseError error;
    std::map<size_t, std::unique_ptr<Node>> nodes;
};

u32 Node::GiveNode(u32 out, pugi::xml_node given) {
    const u32 pointer = document.Give(given, kIidNode);
    machine.Write(out, pointer);
    return pointer ? kOk : kFalse;
}

std::vector<MethodEntry> Node::NodeMethods() {
    std::vector<MethodEntry> methods;
    AddUnused(methods, {"GetTypeInfoCount", "GetTypeInfo", "GetIDsOfNames", "Invoke"});
    methods.push_back(Method("get_nodeName", [this](u32 out) { return GiveText(out, NameOf(node)); }));
    AddUnused(methods, {"get_nodeValue", "put_nodeValue"});
    methods.push_back(
        Method("get_nodeType", [this](u32 out) -> u32 { return machine.Write(out, TypeOf(node)), kOk; }));
    AddUnused(methods, {"get_parentNode", "get_childNodes"});
    methods.push_back(
        Method("get_firstChild", [this](u32 out) { return GiveNode(out, node.first_child()); }));
    AddUnused(methods, {"get_lastChild", "get_previousSibling"});
    methods.push_back(
        Method("get_nextSibling", [this](u32 out) { return GiveNode(out, node.next_sibling()); }));
    AddUnused(methods, {"get_attributes", "insertBefore", "replaceChild", "removeChild", "appendChild"});
    methods.push_back(Method("hasChildNodes", [this](u32 out) -> u32 {
        machine.Write(out, node.first_child() ? kTrue : kNo);
        return node.first_child() ? kOk : kFalse;
    }));
    AddUnused(methods, {"get_ownerDocument", "cloneNode", "get_nodeTypeString"});
    methods.push_back(Method("get_text", [this](u32 out) { return GiveText(out, Wide(node.value())); }));
    AddUnused(methods,
              {"put_text", "get_specified", "get_definition", "get_nodeTypedValue", "put_nodeTypedValue",
               "get_dataType", "put_dataType", "get_xml", "transformNode", "selectNodes", "selectSingleNode",
               "get_parsed", "get_namespaceURI", "get_prefix", "get_baseName", "transformNodeToObject"});
    return methods;
}

Node::Node(Process& owner, Document& whole, pugi::xml_node element)
    : HostObject(owner, std::string("node ") + element.name()), document(whole), node(element) {
    Implement(kIidNode, "IXMLDOMNode", NodeMethods());
    if (node.type() != pugi::node_element) return;
    std::vector<MethodEntry> methods = NodeMethods();
    methods.push_back(Unused("get_tagName"));
    methods.push_back(Method("getAttribute", [this](u32 name, u32 variant) -> u32 {
        const pugi::xml_attribute attribute = node.attribute(NarrowText(machine.Text(name)).c_str());
        machine.Write(variant, attribute ? kVariantBstr : kVariantNull);
        return attribute ? GiveText(variant + 8, Wide(attribute.value())) : kFalse;
    }));
    AddUnused(methods, {"setAttribute", "removeAttribute", "getAttributeNode", "setAttributeNode",
                        "removeAttributeNode", "getElementsByTagName", "normalize"});
    Implement(kIidElement, "IXMLDOMElement", std::move(methods));
}

Document::Document(Process& owner, Parser& home)
    : HostObject(owner, "XML document", Listed::Unseen), parser(home), error(owner) {
    std::vector<MethodEntry> methods;
    AddUnused(methods, {"GetTypeInfoCount", "GetTypeInfo", "GetIDsOfNames", "Invoke"});
    AddUnused(methods, {"get_nodeName",
                        "get_nodeValue",
                        "put_nodeValue",
                        "get_nodeType",
                        "get_parentNode",
                        "get_childNodes",
                        "get_firstChild",
                        "get_lastChild",
                        "get_previousSibling",
                        "get_nextSibling",
                        "get_attributes",
                        "insertBefore",
                        "replaceChild",
                        "removeChild",
                        "appendChild",
                        "hasChildNodes",
                        "get_ownerDocument",
                        "cloneNode",
                        "get_nodeTypeString",
                        "get_text",
                        "put_text",
                        "get_specified",
                        "get_definition",
                        "get_nodeTypedValue",
                        "put_nodeTypedValue",
                        "get_dataType",
                        "put_dataType",
                        "get_xml",
                        "transformNode",
                        "selectNodes",
                        "selectSingleNode",
                        "get_parsed",
                        "get_namespaceURI",
                        "get_prefix",
                        "get_baseName",
                        "transformNodeToObject"});
    methods.push_back(Method("get_doctype", [this](u32 out) -> u32 {
        pugi::xml_node found;
        for (const pugi::xml_node child : document) {
            if (child.type() == pugi::node_doctype) found = child;
        }
        const u32 pointer = Give(found, kIidNode);
        machine.Write(out, pointer);
        return pointer ? kOk : kFalse;
    }));
    methods.push_back(Unused("get_implementation"));
    methods.push_back(Method("get_documentElement", [this](u32 out) -> u32 {
        const u32 pointer = Give(document.document_element(), kIidElement);
        machine.Write(out, pointer);
        return pointer ? kOk : kFalse;
    }));
    AddUnused(methods,
              {"putref_documentElement", "createElement", "createDocumentFragment", "createTextNode",
               "createComment", "createCDATASection", "createProcessingInstruction", "createAttribute",
               "createEntityReference", "getElementsByTagName", "createNode", "nodeFromID"});
    // A VARIANT by value: four words, of which the third is the text.
    methods.push_back(Method("load", [this](u32 kind, u32, u32 name, u32, u32 out) -> u32 {
        ++parser.loads;
        if ((kind & 0xFFFF) != kVariantBstr) return kInvalidArgument;
        const std::string path = HostPath(process, machine.Text(name));
        return Load(out, document.load_file(path.c_str(), kParsing));
    }));
    methods.push_back(Unused("get_readyState"));
    methods.push_back(Method("get_parseError", [this](u32 out) -> u32 {
        return machine.Write(out, error.Query(kIidParseError)), kOk;
    }));
    AddUnused(methods, {"get_url", "get_async"});
    methods.push_back(Method("put_async", [](u32 on) -> u32 {
        if ((on & 0xFFFF) != kNo) throw Failure("a document is to be loaded behind the caller's back");
        return kOk;
    }));
    AddUnused(methods, {"abort", "loadXML", "save", "get_validateOnParse", "put_validateOnParse",
                        "get_resolveExternals"});
    methods.push_back(Method("put_resolveExternals", [](u32 on) -> u32 {
        if ((on & 0xFFFF) != kNo) throw Failure("a document may reach out");
        return kOk;
    }));
    AddUnused(methods, {"get_preserveWhiteSpace", "put_preserveWhiteSpace", "put_onreadystatechange",
                        "put_ondataavailable", "put_ontransformnode"});
    Implement(kIidDocument, "IXMLDOMDocument", std::move(methods));
    Implement(kIidObjectSafety, "IObjectSafety",
              {Method("GetInterfaceSafetyOptions",
                      [this](u32, u32 supported, u32 enabled) -> u32 {
                          machine.Write(supported, kSafetyOptions);
                          machine.Write(enabled, kSafetyOptions);
                          return kOk;
                      }),
               Method("SetInterfaceSafetyOptions", [this](u32 iid, u32 mask, u32 enabled) -> u32 {
                   const bool right = ReadGuid(machine, iid) == kIidDocument && mask == kSafetyOptions;
                   return right && enabled == 0 ? kOk : kInvalidArgument;
               })});
}

}  // namespace

Parser& RegisterParser(Process& process) {
    auto& parser = process.Attachment<Parser>("parser");
    RegisterClass(process, kClsidDomDocument, "DOMDocument",
                  [&process, &parser](const Guid& iid, u32& result) {
                      parser.documents.push_back(std::make_unique<Document>(process, parser));
                      result = kNoInterface;
                      return parser.documents.back()->Query(iid);
                  });
    return parser;
}

}  // namespace ce
