#include "config/config_document.h"

#include <string>

#include "config/config_texts.h"

using namespace cam::config;
using cam::Bstr;

namespace {

ConfigDocument Parse(const std::string& text) {
    ConfigDocument document = ConfigDocument::LoadXMLString(Widen(text).c_str(), {});
    REQUIRE(document);
    return document;
}

// The children of the root element, and what keeps them alive.
struct Nodes {
    explicit Nodes(const std::string& content)
        : document(Parse("<ConfigDoc name='d'>" + content + "</ConfigDoc>")) {
        root = document.GetDocElement();
        REQUIRE(root);
    }
    ConfigNode First() const {
        ConfigNode child;
        root.get()->get_firstChild(child.put());
        REQUIRE(child);
        return child;
    }
    // Without the line ends and indentation that the parser puts between elements.
    std::wstring Xml() const {
        Bstr xml;
        root.get()->get_xml(xml.put());
        std::wstring text = xml.text();
        std::erase_if(text, [](wchar_t c) { return c == L'\r' || c == L'\n' || c == L'\t'; });
        return text;
    }

    ConfigDocument document;
    ConfigNode root;
};

std::wstring Attribute(const ConfigNode& node, const wchar_t* name) {
    const UniqueText text = node.GetAttribute(name);
    return text ? text.get() : L"(none)";
}

std::wstring Value(const ConfigNode& key) {
    const UniqueText text = key.GetKeyValue();
    return text ? text.get() : L"(none)";
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
        const ConfigNode node = nodes.First();
        const int found = node.IsSection() + 2 * node.IsKey() + 4 * node.IsReserved() +
                          8 * node.IsConfigDoc() + 16 * node.IsTextNode();
        CHECK(found == c.expected);
    }
    CHECK_FALSE(ConfigNode().IsSection());
    CHECK_FALSE(ConfigNode().IsTextNode());
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
        const ConfigNode node = nodes.First();
        CHECK(node.GetFlags().has_value() == c.isRead);
        CHECK(node.GetFlags().value_or(0) == c.value);
        const int tests = node.IsDeleted() + 0x02 * node.HasPair() + 0x04 * node.IsPairFirst() +
                          0x08 * node.IsPairSecond() + 0x10 * node.IsPairBoth() + 0x20 * node.HasBit3() +
                          0x40 * node.HasBit4() + 0x80 * node.IsReported();
        CHECK(tests == c.tests);
        CHECK(node.GetField() == c.field);
    }
}

TEST_CASE("flags are changed bit by bit") {
    const Nodes nodes("<Key/>");
    const ConfigNode key = nodes.First();
    CHECK(key.MarkDeleted());
    CHECK(Attribute(key, L"flags") == L"1");
    CHECK(key.SetField(0x300));
    CHECK(Attribute(key, L"flags") == L"769");
    CHECK(key.SetField(0x1FF));  // bits beside the field are not taken
    CHECK(Attribute(key, L"flags") == L"257");
    CHECK(key.Undelete());
    CHECK(Attribute(key, L"flags") == L"256");
    CHECK(key.SetFlags(-5));
    CHECK(Attribute(key, L"flags") == L"-5");
    CHECK_FALSE(Nodes("text").First().SetFlags(1));
}

TEST_CASE("attributes are read and written as text, the type only of a key as a number") {
    const Nodes nodes("<Key name='' type='12a' desc='d' min='1' max='9' list='a,b'/><Section type='3'/>");
    const ConfigNode key = nodes.First();
    CHECK(Attribute(key, L"name").empty());
    CHECK(key.GetName());
    CHECK(std::wstring(key.GetList().get()) == L"a,b");
    CHECK(key.SetMaximum(L"<&\">"));
    CHECK(std::wstring(key.GetMaximum().get()) == L"<&\">");
    CHECK_FALSE(key.GetAttribute(L"Name"));
    CHECK(key.GetKeyType() == 12);
    CHECK(key.SetType(7));
    CHECK(key.GetKeyType() == 7);
    CHECK(nodes.root.FindChild(L"Section", nullptr, false).GetKeyType() == 0);
    CHECK(Nodes("<Key/>").First().GetKeyType() == 0);
    CHECK(nodes.root.NameEquals(L"d"));
    CHECK_FALSE(nodes.root.NameEquals(L"D"));
}

TEST_CASE("lookups pass over what is deleted, and see children only") {
    const Nodes nodes(
        "<QVXReserved><Key name='EXMVersion'>1.0.1</Key><Section name='R'/></QVXReserved>"
        "<!-- x --><Section name='A' flags='1'>first</Section><Section name='A'>second</Section>"
        "<Section name='B' flags='3'/><Key name='A'/><Section name='C'><Section name='D'/></Section>");
    const ConfigNode& root = nodes.root;
    CHECK(Attribute(root.FindSection(L"A"), L"flags") == L"(none)");
    CHECK(Attribute(root.FindChild(L"Section", L"A", true), L"flags") == L"1");
    CHECK(Attribute(root.FindChild(L"Section", nullptr, false), L"name") == L"A");
    CHECK_FALSE(root.FindSection(L"B"));
    CHECK_FALSE(root.FindSection(L"D"));
    CHECK_FALSE(root.FindSection(L"a"));
    CHECK_FALSE(ConfigNode().FindSection(L"A"));
    CHECK(root.FindKey(L"A"));
    CHECK(Value(root.FindReservedKey(L"EXMVersion")) == L"1.0.1");
    CHECK(root.FindReservedSection(L"R"));
    CHECK_FALSE(root.FindReservedSection(L"A"));
    CHECK_FALSE(Nodes("<Key name='x'/>").root.FindReservedKey(L"x"));
}

TEST_CASE("a section is revived or created, never both") {
    const std::string deleted = "<Section name='A' flags='3'/>";
    Nodes nodes(deleted);
    ConfigNode section = nodes.root.GetSection(L"A", true);
    REQUIRE(section);
    CHECK(Attribute(section, L"flags") == L"2");
    CHECK_FALSE(nodes.root.GetSection(L"never", true));
    CHECK(Count(nodes.Xml(), L"<Section") == 1);

    Nodes others(deleted);
    section = others.root.GetSection(L"A", false);
    REQUIRE(section);
    CHECK(Attribute(section, L"flags") == L"(none)");
    CHECK(Count(others.Xml(), L"<Section name=\"A\"") == 2);
    section = others.root.GetSection(L"A", false);  // found now
    CHECK(Count(others.Xml(), L"<Section") == 2);
    CHECK_FALSE(ConfigNode().GetSection(L"A", false));
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
        CHECK(nodes.root.SetKeyValue(L"k", L"new", c.revive));
        CHECK(Count(nodes.Xml(), c.xml) == 1);
        CHECK(Value(nodes.root.FindKey(L"k")) == L"new");
    }
    CHECK_FALSE(ConfigNode().SetKeyValue(L"k", L"new", false));
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
    const ConfigDocument document = ConfigDocument::CreateDocument();
    REQUIRE(document);
    CHECK_FALSE(document.GetDocElement());
    const ConfigNode root = document.InitNewDocument(L"mine");
    REQUIRE(root);
    CHECK(Value(root.FindReservedKey(L"EXMVersion")) == L"1.0.1");
    CHECK_FALSE(document.InitNewDocument(L"again"));
    CHECK(Attribute(document.GetDocElement(), L"name") == L"mine");

    const TestFile file(L"new.xml");
    wchar_t error[200] = L"";
    REQUIRE(document.SaveXMLDocument(file.path(), error));
    const ConfigDocument reloaded = ConfigDocument::LoadXMLDocument(file.path(), error);
    CHECK(Attribute(reloaded.GetDocElement(), L"name") == L"mine");
    CHECK(error[0] == 0);

    const ConfigDocument other = Parse("<Config/>");
    CHECK_FALSE(other.GetDocElement());
    CHECK_FALSE(other.InitNewDocument(L"mine"));
}

TEST_CASE("documents are loaded whatever Unicode form they have") {
    const std::string text = "<ConfigDoc name='d'/>";
    const std::string declared = "<?xml version='1.0' encoding='UTF-16'?>" + text;
    for (const std::string& bytes :
         {text, "\xEF\xBB\xBF" + text, ToUtf16(declared, true), ToUtf16(text, true)}) {
        const TestFile file(L"form.xml", bytes);
        const ConfigDocument document = ConfigDocument::LoadXMLDocument(file.path(), {});
        REQUIRE(document);
        CHECK(Attribute(document.GetDocElement(), L"name") == L"d");
    }
    ConfigDocument document = ConfigDocument::LoadXMLString(text.c_str(), {});
    REQUIRE(document);
    CHECK(Attribute(document.GetDocElement(), L"name") == L"d");

    IXMLDOMDocument* const raw = document.get();
    raw->AddRef();
    document.ReleaseDocument();
    CHECK_FALSE(document);
    CHECK(raw->Release() == 0);
}

TEST_CASE("failures are told in the given buffer, cut to its size") {
    wchar_t error[200] = L"";
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(nullptr, error));
    CHECK(std::wstring(error) == L"Invalid filename LoadXMLDocument: NULL");
    const TestFile file(L"broken.xml");
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), error));
    CHECK(std::wstring(error) == std::wstring(L"Can't find file: ") + file.path());
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), {}));

    file.Write("<ConfigDoc>");
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), error));
    CHECK(std::wstring(error).rfind(L"Error -", 0) == 0);
    CHECK(std::wstring(error).find(L" : ") != std::wstring::npos);
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(file.path(), {}));

    CHECK_FALSE(ConfigDocument::LoadXMLString(L"<ConfigDoc>", error));
    CHECK(std::wstring(error).rfind(L"XMl Load error -", 0) == 0);
    CHECK_FALSE(ConfigDocument::LoadXMLString("<ConfigDoc>", error));
    CHECK(std::wstring(error).rfind(L"XMl Load error -", 0) == 0);
    CHECK_FALSE(ConfigDocument::LoadXMLString("<a>\xFF\xFE</a", {}));

    wchar_t small[12] = L"###########";
    CHECK_FALSE(ConfigDocument::LoadXMLDocument(nullptr, std::span(small).first(10)));
    CHECK(std::wstring(small) == L"Invalid f");
    CHECK(small[10] == L'#');
}

TEST_CASE("saving over a read-only file fails before the parser is asked") {
    const TestFile file(L"readonly.xml", "before");
    REQUIRE(SetFileAttributesW(file.path(), FILE_ATTRIBUTE_READONLY));
    const ConfigDocument document = Parse("<ConfigDoc/>");
    wchar_t error[400] = L"";
    CHECK_FALSE(document.SaveXMLDocument(file.path(), error));
    CHECK(std::wstring(error) == L"File " + std::wstring(file.path()) + L" is read-only");
    CHECK(ReadBytes(file.path()) == "before");

    const std::wstring nowhere = std::wstring(file.path()) + L"\\x.xml";
    CHECK_FALSE(document.SaveXMLDocument(nowhere.c_str(), error));
    CHECK(std::wstring(error).rfind(L"XML Save error -", 0) == 0);
}
