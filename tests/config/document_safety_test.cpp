// Documents that mean harm end in the error of a document that cannot be parsed.
#include <windows.h>
#include <objsafe.h>

#include <string>

#include "base/unique_resource.h"
#include "config/config_document.h"
#include "config/dom_ids.h"
#include "config/config_texts.h"

using namespace cam::config;
using cam::Bstr;
using cam::ComPtr;
using cam::Variant;

namespace {

const std::string kHead = "<?xml version=\"1.0\"?>";

void CheckRefused(const std::string& bytes) {
    const TestFile file(L"hostile.xml", bytes);
    wchar_t error[200] = L"";
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), error));
    CHECK(std::wstring(error).rfind(L"Error -2147467259 : ", 0) == 0);
    CHECK(std::wstring(error).size() > 20);
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), {}));
}

std::string Nested(int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) text += "<Section>";
    for (int i = 0; i < levels; ++i) text += "</Section>";
    return text;
}

std::string EntityBomb() {
    std::string entities = "<!ENTITY e0 \"xxxxxxxxxx\">";
    for (int i = 1; i < 10; ++i) {
        entities += "<!ENTITY e" + std::to_string(i) + " \"";
        for (int k = 0; k < 10; ++k) entities += "&e" + std::to_string(i - 1) + ";";
        entities += "\">";
    }
    return kHead + "<!DOCTYPE ConfigDoc [" + entities + "]><ConfigDoc>&e9;</ConfigDoc>";
}

}  // namespace

TEST_CASE("hostile documents are refused, from a file and from memory") {
    const std::string documents[] = {
        EntityBomb(),
        ToUtf16(EntityBomb(), true),
        kHead + Nested(257),
        kHead + "<ConfigDoc>" + std::string(100, '<'),
        std::string("\0\0\0\0", 4),
        // Their quotation marks and brackets are other characters.
        "<?xml version=\"1.0\" encoding=\"UTF-7\"?>+ADwAIQ-DOCTYPE a+AD4APA-a/+AD4-",
        "<?xml version=\"1.0\" encoding=\"ISO-2022-JP\"?><ConfigDoc/>",
    };
    for (const std::string& document : documents) {
        CAPTURE(document.substr(0, 100));
        CheckRefused(document);
        if (document.find('\0') != std::string::npos) continue;
        wchar_t error[200] = L"";
        CHECK_FALSE(ConfigDocument::LoadXMLString(Widen(document).c_str(), error));
        CHECK(std::wstring(error).rfind(L"XMl Load error -2147467259 : ", 0) == 0);
    }
}

TEST_CASE("deep and large documents are read, and those whose DTD does no harm") {
    const std::string documents[] = {
        kHead + Nested(256),
        kHead + "<ConfigDoc><Key>" + std::string(1'000'000, 'x') + "</Key></ConfigDoc>",
        kHead + "<!DOCTYPE ConfigDoc><ConfigDoc/>",
        kHead +
            "<!DOCTYPE ConfigDoc [<!ELEMENT ConfigDoc ANY><!ATTLIST ConfigDoc name CDATA #IMPLIED>]>"
            "<ConfigDoc name='a'/>",
        kHead +
            "<!DOCTYPE ConfigDoc SYSTEM \"nowhere.dtd\" [<!ATTLIST ConfigDoc name CDATA 'a'>]><ConfigDoc/>",
    };
    for (const std::string& document : documents) {
        CAPTURE(document.substr(0, 100));
        const TestFile file(L"odd.xml", document);
        CHECK(ConfigDocument::LoadXMLDocument(file.path(), {}));
        CHECK(ConfigDocument::LoadXMLString(Widen(document).c_str(), {}));
    }
}

TEST_CASE("a file that somebody may still change is not read") {
    const TestFile file(L"open.xml", kHead + "<ConfigDoc/>");
    wchar_t error[200] = L"";
    {
        const cam::UniqueFileHandle writer(CreateFileW(file.path(), GENERIC_WRITE,
                                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                       OPEN_EXISTING, 0, nullptr));
        REQUIRE(writer);
        CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), error));
        CHECK(std::wstring(error) == L"Error -2147024864 : The file cannot be read.");
    }
    CHECK(ConfigDocument::LoadXMLDocument(file.path(), error));
}

// The parser itself is told as well, in case a DTD reaches it in an encoding of its own.
TEST_CASE("the parser does not follow external entities") {
    const TestFile secret(L"secret.txt", "SECRET");
    const TestFile file(L"outer.xml", kHead + "<!DOCTYPE a [<!ENTITY x SYSTEM \"secret.txt\">]><a>&x;</a>");
    const ConfigDocument document = ConfigDocument::CreateDocument();
    REQUIRE(document);
    VARIANT_BOOL resolves = VARIANT_TRUE;
    CHECK(SUCCEEDED(document.get()->get_resolveExternals(&resolves)));
    CHECK(resolves == VARIANT_FALSE);
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    document.get()->load(Variant(file.path()).get(), &isLoaded);
    Bstr text;
    document.get()->get_text(text.put());
    CHECK(std::wstring(text.text()).find(L"SECRET") == std::wstring::npos);
}

TEST_CASE("a new document is synchronous and has all safety options off") {
    const ConfigDocument document = ConfigDocument::CreateDocument();
    REQUIRE(document);
    VARIANT_BOOL isAsync = VARIANT_TRUE;
    CHECK(SUCCEEDED(document.get()->get_async(&isAsync)));
    CHECK(isAsync == VARIANT_FALSE);
    ComPtr<IObjectSafety> safety;
    REQUIRE(SUCCEEDED(document.get()->QueryInterface(kIidObjectSafety, safety.putVoid())));
    DWORD supported = 0;
    DWORD enabled = 1;
    CHECK(SUCCEEDED(safety->GetInterfaceSafetyOptions(kIidDomDocument, &supported, &enabled)));
    CHECK(enabled == 0);
}
