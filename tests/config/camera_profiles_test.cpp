#include "config/camera_profiles.h"

#include <cstdlib>
#include <set>
#include <string>

#include "config/test_files.h"

using cam::config::GetProfiles;
using cam::config::kProfileSlots;

namespace {

std::string Document(const std::string& content, const std::string& attributes = "") {
    return "<?xml version=\"1.0\"?>\n<ConfigDoc name=\"x\">\n" + ("<Section name=\"Profiles\"" + attributes) +
           ">" + content + "</Section></ConfigDoc>";
}

std::string Sections(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "<Section name=\"P" + std::to_string(i) + "\"/>\n";
    return text;
}

void Free(wchar_t** slots) {
    for (wchar_t* const name : std::set<wchar_t*>(slots, slots + kProfileSlots)) free(name);
    free(slots);
}

// The slots as text, "-" for null, without the nulls at the end; "none" when nothing was handed out.
std::string List(const std::string& bytes) {
    const TestFile file(L"profiles.xml", bytes);
    wchar_t** slots = nullptr;
    if (!GetProfiles(file.path(), &slots)) {
        CHECK(slots == nullptr);
        return "none";
    }
    std::string list;
    size_t end = 0;
    for (int i = 0; i < kProfileSlots; ++i) {
        list += (slots[i] ? Narrow(slots[i]) : "-") + " ";
        if (slots[i]) end = list.size() - 1;
    }
    Free(slots);
    return list.substr(0, end);
}

// Busy blocks of all heaps of the process.
size_t CountBlocks() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    size_t blocks = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry)) blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        HeapUnlock(heaps[i]);
    }
    return blocks;
}

}  // namespace

TEST_CASE("each child of the section has its slot") {
    struct Case {
        const char* content;
        const char* slots;
    };
    for (const Case& c :
         {Case{"<Section name='A'/><!-- x --><Section name='B'/>", "A - B"},
          {"\n  <Section name='A'/>\n  <Section name='B'/>\n", "A B"},
          {"<Section name='A'/><Section name='B' flags='1'/><Section name='C' flags='3'/>", "A"},
          {"<Section name='A' flags='2'/><Section name='B' flags='0x1'/>", "A B"},
          {"<Key name='K'/>text<section name='x'/><Section name='A'/>", "- - - A"},
          {"<Section name='A'><Section name='inner'/></Section>", "A"},
          {"<Section name='A'/><Section name='A'/><Section name=''/>", "A A "},
          {"", ""}}) {
        CAPTURE(std::string(c.content));
        CHECK(List(Document(c.content)) == c.slots);
    }
    CHECK(List(DocumentedExample("xml", 1)) == "Document - Close-up - Close-up");
    CHECK(List("\xEF\xBB\xBF" + Document("<Section name='\xC3\xA4'/>")) == "\xC3\xA4");
    CHECK(List(ToUtf16(Document("<Section name='A'/>"), true)) == "A");
}

TEST_CASE("a profile without a name has the string of the live one before it") {
    const TestFile file(L"profiles.xml",
                        Document("<Section/><Section name='A'/><!-- x --><Section name='B' flags='1'/>"
                                 "<Section/><Section/>"));
    wchar_t** slots = nullptr;
    REQUIRE(GetProfiles(file.path(), &slots));
    CHECK(slots[0] == nullptr);
    CHECK(std::wstring(slots[1]) == L"A");
    CHECK(slots[2] == nullptr);
    CHECK(slots[3] == nullptr);
    CHECK(slots[4] == slots[1]);
    CHECK(slots[5] == slots[1]);
    Free(slots);
}

TEST_CASE("32 children are listed, 33 fail as a whole") {
    const std::string all = List(Document(Sections(32)));
    CHECK(all.substr(0, 6) == "P0 P1 ");
    CHECK(all.substr(all.size() - 4) == " P31");
    CHECK(List(Document(Sections(33))) == "none");
    CHECK(List(Document(Sections(32) + "<!-- counts as well -->")) == "none");
}

TEST_CASE("without a live section Profiles in a live ConfigDoc there is no list") {
    for (const char* text :
         {"<ConfigDoc/>", "<ConfigDoc><Section name='profiles'/></ConfigDoc>",
          "<ConfigDoc><Section name='A'><Section name='Profiles'/></Section></ConfigDoc>",
          "<ConfigDoc><Section name='Profiles' flags='1'/></ConfigDoc>",
          "<ConfigDoc flags='1'><Section name='Profiles'/></ConfigDoc>",
          "<Config><Section name='Profiles'/></Config>", "<ConfigDoc>", "", "[Profiles]\nA=1\n"}) {
        CAPTURE(std::string(text));
        CHECK(List(text) == "none");
    }
    wchar_t** slots = nullptr;
    const TestFile missing(L"missing.xml");
    CHECK_FALSE(GetProfiles(missing.path(), &slots));
    CHECK_FALSE(GetProfiles(nullptr, &slots));
    CHECK(slots == nullptr);
}

TEST_CASE("neither success nor failure leaves memory behind") {
    const std::string documents[] = {Document(Sections(32)), Document(Sections(33)),
                                     Document("<Section name='A'/><Section/>"), "<ConfigDoc/>",
                                     "<ConfigDoc>"};
    const auto readAll = [&] {
        for (const std::string& document : documents) List(document);
    };
    for (int i = 0; i < 3; ++i) readAll();
    const size_t before = CountBlocks();
    constexpr int kRounds = 50;
    for (int i = 0; i < kRounds; ++i) readAll();
    CHECK(CountBlocks() < before + kRounds / 2);
}
