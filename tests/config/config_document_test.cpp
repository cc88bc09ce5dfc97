#include "config/config_document.h"

#include <string>

#include "config/config_texts.h"

using namespace cam::config;
using cam::Bstr;

namespace {

DomDocument Parse(const std::string& text) {
    DomDocument document = ConfigDocument::LoadXMLString(Widen(text).c_str(), nullptr, 0);
    REQUIRE(document);
    return document;
}

// The children of the root element, and what keeps them alive.
struct Nodes {
    explicit Nodes(const std::string& content)
        : document(Parse("<ConfigDoc name='d'>" + content + "</ConfigDoc>")) {
        root = ConfigDocument::GetDocElement(document.get());
        REQUIRE(root);
    }
    DomNode First() const {
        DomNode child;
        root->get_firstChild(child.put());
        REQUIRE(child);
        return child;
    }
    // Without the line ends and indentation that the parser puts between elements.
    std::wstring Xml() const {
        Bstr xml;
        root->get_xml(xml.put());
        std::wstring text = xml.text();
        std::erase_if(text, [](wchar_t c) { return c == L'\r' || c == L'\n' || c == L'\t'; });
        return text;
    }

    DomDocument document;
    DomNode root;
};

std::wstring Attribute(const DomNode& node, const wchar_t* name) {
    UniqueText text;
    return ConfigDocument::GetAttribute(node.get(), name, &text) ? text.get() : L"(none)";
}

std::wstring Value(const DomNode& key) {
    UniqueText text;
    return ConfigDocument::GetKeyValue(key.get(), &text) ? text.get() : L"(none)";
}

int Count(const std::wstring& text, const std::wstring& part) {
    int count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::wstring::npos; at += part.size()) ++count;
    return count;
}

}  // namespace

TEST_CASE("nodes are told apart by type and exact name") {
    struct Case {
        const char* content;
        int expected;  // 1 section, 2 key, 4 reserved, 8 ConfigDoc, 16 text
    };
    for (const Case& c : {Case{"<Section/>", 1},
                          {"<Key/>", 2},
                          {"<QVXReserved/>", 4},
                          {"<ConfigDoc/>", 8},
                          {"text", 16},
                          {"<![CDATA[text]]>", 16},
                          {"<section/>", 0},
                          {"<!--Section-->", 0},
                          {"<?Section x?>", 0}}) {
        CAPTURE(std::string(c.content));
        const Nodes nodes(c.content);
        const DomNode node = nodes.First();
        const int found = ConfigDocument::IsSection(node.get()) + 2 * ConfigDocument::IsKey(node.get()) +
                          4 * ConfigDocument::IsReserved(node.get()) +
                          8 * ConfigDocument::IsConfigDoc(node.get()) +
                          16 * ConfigDocument::IsTextNode(node.get());
        CHECK(found == c.expected);
    }
    CHECK_FALSE(ConfigDocument::IsSection(nullptr));
    CHECK_FALSE(ConfigDocument::IsTextNode(nullptr));
}

TEST_CASE("flags are decimal digits, and each test looks at its bits") {
    struct Case {
        const char* flags;  // the attribute's text, or null
        bool isRead;
        int value;
        int tests;  // bit by bit: deleted, pair, first, second, both, bit 3, bit 4, reported
        int field;
    };
    for (const Case& c : {Case{nullptr, false, 0, 0, 0},
                          {"", true, 0, 0, 0},
                          {"0x8", true, 0, 0, 0},
                          {" 7z", true, 7, 0x01 | 0x02 | 0x10, 0},
                          {"2", true, 2, 0x02 | 0x04, 0},
                          {"4", true, 4, 0x02 | 0x08, 0},
                          {"6", true, 6, 0x02 | 0x10, 0},
                          {"8", true, 8, 0x20, 0},
                          {"16", true, 16, 0x40, 0},
                          {"33", true, 33, 0x01 | 0x80, 0},
                          {"256", true, 256, 0, 0x100},
                          {"768", true, 768, 0, 0x300},
                          {"-1", true, -1, 0x01 | 0x02 | 0x10 | 0x20 | 0x40 | 0x80, 0x300}}) {
        CAPTURE(c.value);
        const Nodes nodes(c.flags ? std::string("<Key flags='") + c.flags + "'/>" : "<Key/>");
        const DomNode node = nodes.First();
        int flags = 99;
        CHECK(ConfigDocument::GetFlags(node.get(), &flags) == c.isRead);
        CHECK(flags == (c.isRead ? c.value : 99));
        const int tests =
            ConfigDocument::IsDeleted(node.get()) + 0x02 * ConfigDocument::HasPair(node.get()) +
            0x04 * ConfigDocument::IsPairFirst(node.get()) + 0x08 * ConfigDocument::IsPairSecond(node.get()) +
            0x10 * ConfigDocument::IsPairBoth(node.get()) + 0x20 * ConfigDocument::HasBit3(node.get()) +
            0x40 * ConfigDocument::HasBit4(node.get()) + 0x80 * ConfigDocument::IsReported(node.get());
        CHECK(tests == c.tests);
        CHECK(ConfigDocument::GetField(node.get()) == c.field);
    }
}

TEST_CASE("flags are changed bit by bit") {
    const Nodes nodes("<Key/>");
    const DomNode key = nodes.First();
    CHECK(ConfigDocument::MarkDeleted(key.get()));
    CHECK(Attribute(key, L"flags") == L"1");
    CHECK(ConfigDocument::SetField(key.get(), 0x300));
    CHECK(Attribute(key, L"flags") == L"769");
    CHECK(ConfigDocument::SetField(key.get(), 0x1FF));  // bits beside the field are not taken
    CHECK(Attribute(key, L"flags") == L"257");
    CHECK(ConfigDocument::Undelete(key.get()));
    CHECK(Attribute(key, L"flags") == L"256");
    CHECK(ConfigDocument::SetFlags(key.get(), -5));
    CHECK(Attribute(key, L"flags") == L"-5");
    CHECK_FALSE(ConfigDocument::SetFlags(Nodes("text").First().get(), 1));
}

TEST_CASE("attributes are read and written as text, the type only of a key as a number") {
    const Nodes nodes("<Key name='' type='12a' desc='d' min='1' max='9' list='a,b'/><Section type='3'/>");
    const DomNode key = nodes.First();
    UniqueText text;
    CHECK(ConfigDocument::GetName(key.get(), &text));
    CHECK(std::wstring(text.get()).empty());
    CHECK(ConfigDocument::GetList(key.get(), &text));
    CHECK(std::wstring(text.get()) == L"a,b");
    CHECK(ConfigDocument::SetMaximum(key.get(), L"<&\">"));
    CHECK(ConfigDocument::GetMaximum(key.get(), &text));
    CHECK(std::wstring(text.get()) == L"<&\">");
    CHECK_FALSE(ConfigDocument::GetAttribute(key.get(), L"Name", &text));
    CHECK(std::wstring(text.get()) == L"<&\">");  // untouched
    CHECK(ConfigDocument::GetKeyType(key.get()) == 12);
    CHECK(ConfigDocument::SetType(key.get(), 7));
    CHECK(ConfigDocument::GetKeyType(key.get()) == 7);
    CHECK(ConfigDocument::GetKeyType(
              ConfigDocument::FindChild(nodes.root.get(), L"Section", nullptr, false).get()) == 0);
    CHECK(ConfigDocument::GetKeyType(Nodes("<Key/>").First().get()) == 0);
    CHECK(ConfigDocument::NameEquals(nodes.root.get(), L"d"));
    CHECK_FALSE(ConfigDocument::NameEquals(nodes.root.get(), L"D"));
}

TEST_CASE("lookups pass over what is deleted, and see children only") {
    const Nodes nodes(
        "<QVXReserved><Key name='EXMVersion'>1.0.1</Key><Section name='R'/></QVXReserved>"
        "<!-- x --><Section name='A' flags='1'>first</Section><Section name='A'>second</Section>"
        "<Section name='B' flags='3'/><Key name='A'/><Section name='C'><Section name='D'/></Section>");
    IXMLDOMNode* const root = nodes.root.get();
    CHECK(Attribute(ConfigDocument::FindSection(root, L"A"), L"flags") == L"(none)");
    CHECK(Attribute(ConfigDocument::FindChild(root, L"Section", L"A", true), L"flags") == L"1");
    CHECK(Attribute(ConfigDocument::FindChild(root, L"Section", nullptr, false), L"name") == L"A");
    CHECK_FALSE(ConfigDocument::FindSection(root, L"B"));
    CHECK_FALSE(ConfigDocument::FindSection(root, L"D"));
    CHECK_FALSE(ConfigDocument::FindSection(root, L"a"));
    CHECK_FALSE(ConfigDocument::FindSection(nullptr, L"A"));
    CHECK(ConfigDocument::FindKey(root, L"A"));
    CHECK(Value(ConfigDocument::FindReservedKey(root, L"EXMVersion")) == L"1.0.1");
    CHECK(ConfigDocument::FindReservedSection(root, L"R"));
    CHECK_FALSE(ConfigDocument::FindReservedSection(root, L"A"));
    CHECK_FALSE(ConfigDocument::FindReservedKey(Nodes("<Key name='x'/>").root.get(), L"x"));
}

TEST_CASE("a section is revived or created, never both") {
    const std::string deleted = "<Section name='A' flags='3'/>";
    Nodes nodes(deleted);
    DomNode section = ConfigDocument::GetSection(nodes.root.get(), L"A", true);
    REQUIRE(section);
    CHECK(Attribute(section, L"flags") == L"2");
    CHECK_FALSE(ConfigDocument::GetSection(nodes.root.get(), L"never", true));
    CHECK(Count(nodes.Xml(), L"<Section") == 1);

    Nodes others(deleted);
    section = ConfigDocument::GetSection(others.root.get(), L"A", false);
    REQUIRE(section);
    CHECK(Attribute(section, L"flags") == L"(none)");
    CHECK(Count(others.Xml(), L"<Section name=\"A\"") == 2);
    section = ConfigDocument::GetSection(others.root.get(), L"A", false);  // found now
    CHECK(Count(others.Xml(), L"<Section") == 2);
    CHECK_FALSE(ConfigDocument::GetSection(nullptr, L"A", false));
}

TEST_CASE("a key's value is set in place, in a revived key, or in a new one") {
    struct Case {
        const char* content;
        bool revive;
        const wchar_t* xml;  // part of the result
    };
    for (const Case& c :
         {Case{"<Key name='k'>old</Key>", false, L"<Key name=\"k\">new</Key>"},
          {"<Key name='k'><!--c--><![CDATA[old]]>more</Key>", false, L"<!--c--><![CDATA[new]]>more</Key>"},
          {"<Key name='k'/>", false, L"<Key name=\"k\">new</Key>"},
          {"<Key name='k' flags='1'>old</Key>", true, L"<Key name=\"k\" flags=\"0\">new</Key>"},
          {"<Key name='k' flags='1'>old</Key>", false,
           L"<Key name=\"k\" flags=\"1\">old</Key><Key name=\"k\">new</Key>"},
          {"<!--c-->", true, L"<!--c--><Key name=\"k\">new</Key>"},
          {"<!--c-->", false, L"<!--c--><Key name=\"k\">new</Key>"}}) {
        CAPTURE(std::string(c.content));
        const Nodes nodes(c.content);
        CHECK(ConfigDocument::SetKeyValue(nodes.root.get(), L"k", L"new", c.revive));
        CHECK(Count(nodes.Xml(), c.xml) == 1);
        CHECK(Value(ConfigDocument::FindKey(nodes.root.get(), L"k")) == L"new");
    }
    CHECK_FALSE(ConfigDocument::SetKeyValue(nullptr, L"k", L"new", false));
}

TEST_CASE("the value of a key is its first text") {
    for (const auto& [content, value] : {std::pair{"<Key>a</Key>", L"a"},
                                         {"<Key>a<!--c-->b</Key>", L"a"},
                                         {"<Key><!--c--><x>y</x><![CDATA[ a ]]></Key>", L" a "},
                                         {"<Key> a b </Key>", L"a b"},
                                         {"<Key><x>y</x></Key>", L"(none)"},
                                         {"<Key/>", L"(none)"}}) {
        CAPTURE(std::string(content));
        CHECK(Value(Nodes(content).First()) == value);
    }
}

TEST_CASE("a new document is made only where there is none") {
    const DomDocument document = ConfigDocument::CreateDocument();
    REQUIRE(document);
    CHECK_FALSE(ConfigDocument::GetDocElement(document.get()));
    const DomNode root = ConfigDocument::InitNewDocument(document.get(), L"mine");
    REQUIRE(root);
    CHECK(Value(ConfigDocument::FindReservedKey(root.get(), L"EXMVersion")) == L"1.0.1");
    CHECK_FALSE(ConfigDocument::InitNewDocument(document.get(), L"again"));
    CHECK(Attribute(ConfigDocument::GetDocElement(document.get()), L"name") == L"mine");

    const TestFile file(L"new.xml");
    wchar_t error[200] = L"";
    REQUIRE(ConfigDocument::SaveXMLDocument(document.get(), file.path(), error, 200));
    const DomDocument reloaded = ConfigDocument::LoadXMLDocument(file.path(), error, 200);
    CHECK(Attribute(ConfigDocument::GetDocElement(reloaded.get()), L"name") == L"mine");
    CHECK(error[0] == 0);

    const DomDocument other = Parse("<Config/>");
    CHECK_FALSE(ConfigDocument::GetDocElement(other.get()));
    CHECK_FALSE(ConfigDocument::InitNewDocument(other.get(), L"mine"));
}

TEST_CASE("documents are loaded whatever Unicode form they have") {
    const std::string text = "<ConfigDoc name='d'/>";
    const std::string declared = "<?xml version='1.0' encoding='UTF-16'?>" + text;
    for (const std::string& bytes :
         {text, "\xEF\xBB\xBF" + text, ToUtf16(declared, true), ToUtf16(text, true)}) {
        const TestFile file(L"form.xml", bytes);
        const DomDocument document = ConfigDocument::LoadXMLDocument(file.path(), nullptr, 0);
        REQUIRE(document);
        CHECK(Attribute(ConfigDocument::GetDocElement(document.get()), L"name") == L"d");
    }
    DomDocument document = ConfigDocument::LoadXMLString(text.c_str(), nullptr, 0);
    REQUIRE(document);
    CHECK(Attribute(ConfigDocument::GetDocElement(document.get()), L"name") == L"d");

    IXMLDOMDocument* const raw = document.get();
    raw->AddRef();
    ConfigDocument::ReleaseDocument(&document);
    CHECK_FALSE(document);
    CHECK(raw->Release() == 0);
}

TEST_CASE("failures are told in the given buffer, cut to its size") {
    wchar_t error[200] = L"";
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(nullptr, error, 200));
    CHECK(std::wstring(error) == L"Invalid filename LoadXMLDocument: NULL");
    const TestFile file(L"broken.xml");
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), error, 200));
    CHECK(std::wstring(error) == std::wstring(L"Can't find file: ") + file.path());
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), nullptr, 0));

    file.Write("<ConfigDoc>");
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), error, 200));
    CHECK(std::wstring(error).rfind(L"Error -", 0) == 0);
    CHECK(std::wstring(error).find(L" : ") != std::wstring::npos);
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), nullptr, 0));

    CHECK_FALSE(ConfigDocument::LoadXMLString(L"<ConfigDoc>", error, 200));
    CHECK(std::wstring(error).rfind(L"XMl Load error -", 0) == 0);
    CHECK_FALSE(ConfigDocument::LoadXMLString("<ConfigDoc>", error, 200));
    CHECK(std::wstring(error).rfind(L"XMl Load error -", 0) == 0);
    CHECK_FALSE(ConfigDocument::LoadXMLString("<a>\xFF\xFE</a", nullptr, 0));

    wchar_t small[12] = L"###########";
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(nullptr, small, 10));
    CHECK(std::wstring(small) == L"Invalid f");
    CHECK(small[10] == L'#');
}

TEST_CASE("saving over a read-only file fails before the parser is asked") {
    const TestFile file(L"readonly.xml", "before");
    REQUIRE(SetFileAttributesW(file.path(), FILE_ATTRIBUTE_READONLY));
    const DomDocument document = Parse("<ConfigDoc/>");
    wchar_t error[400] = L"";
    CHECK_FALSE(ConfigDocument::SaveXMLDocument(document.get(), file.path(), error, 400));
    CHECK(std::wstring(error) == L"File " + std::wstring(file.path()) + L" is read-only");
    CHECK(ReadBytes(file.path()) == "before");

    const std::wstring nowhere = std::wstring(file.path()) + L"\\x.xml";
    CHECK_FALSE(ConfigDocument::SaveXMLDocument(document.get(), nowhere.c_str(), error, 400));
    CHECK(std::wstring(error).rfind(L"XML Save error -", 0) == 0);
}
