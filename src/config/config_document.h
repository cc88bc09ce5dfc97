// An XML configuration document: made, loaded and saved.
#pragma once

#include <span>
#include <utility>

#include "config/config_node.h"

namespace cam::config {

// Owns the parser's document, or none. Used by one thread at a time.
class ConfigDocument {
  public:
    ConfigDocument() = default;

    explicit operator bool() const { return static_cast<bool>(document); }
    IXMLDOMDocument* get() const { return document.get(); }
    IXMLDOMDocument* release() { return document.detach(); }

    // An empty document, or none. Initialises COM for the process the first time.
    static ConfigDocument CreateDocument();

    // Loading and saving write a reason to `error`, cut to fit with its terminator; `error` may be empty. A
    // document whose DTD declares entities, one with elements nested more than 256 deep, and one in an
    // encoding other than UTF-8, UTF-16, US-ASCII, ISO 8859 or a Windows code page of one byte a character
    // are refused like one with an error; what a DTD names outside the document is not fetched. A file that
    // somebody else has open for writing cannot be read.
    static ConfigDocument LoadXMLDocument(const wchar_t* fileName, std::span<wchar_t> error);
    static ConfigDocument LoadXMLString(const wchar_t* text, std::span<wchar_t> error);
    // In the C library's multibyte encoding.
    static ConfigDocument LoadXMLString(const char* text, std::span<wchar_t> error);
    bool SaveXMLDocument(const wchar_t* fileName, std::span<wchar_t> error) const;
    void ReleaseDocument() { document.reset(); }

    // The document element if it is a ConfigDoc.
    ConfigNode GetDocElement() const;

    // Gives an empty document its ConfigDoc element; none, and nothing changed, for one that has a document
    // element.
    ConfigNode InitNewDocument(const wchar_t* name) const;

  private:
    explicit ConfigDocument(ComPtr<IXMLDOMDocument> owned) : document(std::move(owned)) {}

    ComPtr<IXMLDOMDocument> document;
};

}  // namespace cam::config
