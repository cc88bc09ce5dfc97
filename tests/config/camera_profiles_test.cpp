#include "config/camera_profiles.h"

#include <cstdlib>
#include <set>
#include <string>

#include "config/config_texts.h"
#include "camverify/tables/settings.h"

using cam::config::GetProfiles;
using cam::config::kProfileSlots;
using tables::Profiles;
using tables::Sections;

namespace {

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

TEST_CASE(
    "each child of the section has its slot; without a live section in a live document there is no list") {
    for (const auto& [text, slots] : tables::kProfiles) {
        CAPTURE(text);
        CHECK(List(text) == slots);
    }
    CHECK(List(DocumentedExample("xml", 1)) == "Document - Close-up - Close-up");
    CHECK(List(ToUtf16(Profiles("<Section name='A'/>"), true)) == "A");
    wchar_t** slots = nullptr;
    const TestFile missing(L"missing.xml");
    CHECK_FALSE(GetProfiles(missing.path(), &slots));
    CHECK_FALSE(GetProfiles(nullptr, &slots));
    CHECK(slots == nullptr);
}

TEST_CASE("a profile without a name has the string of the live one before it") {
    const TestFile file(L"profiles.xml", Profiles("<Section name='A'/><Section/><Section/>"));
    wchar_t** slots = nullptr;
    REQUIRE(GetProfiles(file.path(), &slots));
    CHECK(slots[1] == slots[0]);
    CHECK(slots[2] == slots[0]);
    Free(slots);
}

TEST_CASE("32 children are listed") {
    const std::string all = List(Profiles(Sections(32)));
    CHECK(all.substr(0, 6) == "P0 P1 ");
    CHECK(all.substr(all.size() - 4) == " P31");
}

TEST_CASE("neither success nor failure leaves memory behind") {
    const std::string documents[] = {Profiles(Sections(32)), Profiles(Sections(33)),
                                     Profiles("<Section name='A'/><Section/>"), "<ConfigDoc/>",
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
