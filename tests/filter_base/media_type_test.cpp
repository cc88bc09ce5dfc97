#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "filter_base/test_filters.h"

using namespace cam;
using namespace cam::test;

TEST_CASE("a copy of a media type shares nothing but the object it refers to") {
    const NoLeaks noLeaks;
    const Held<TestSource> object;
    IUnknown* unknown = object->Inner();
    const ULONG before = CountOf(unknown);
    {
        MediaType type = VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16);
        type.pUnk = unknown;
        unknown->AddRef();

        MediaType copy;
        REQUIRE(copy.CopyFrom(type) == S_OK);
        CHECK(SameMediaType(copy, type));
        CHECK(copy.pbFormat != type.pbFormat);
        CHECK(copy.lSampleSize == 320 * 240 * 2);
        CHECK(CountOf(unknown) == before + 2);

        REQUIRE(copy.CopyFrom(copy) == S_OK);  // from itself
        CHECK(SameMediaType(copy, type));

        const BYTE* block = type.pbFormat;
        const MediaType moved = std::move(type);
        CHECK(moved.pbFormat == block);
        CHECK(CountOf(unknown) == before + 2);

        AM_MEDIA_TYPE* allocated = CreateMediaType(moved);
        REQUIRE(allocated);
        CHECK(SameMediaType(*allocated, moved));
        DeleteMediaType(allocated);
    }
    CHECK(CountOf(unknown) == before);
    DeleteMediaType(nullptr);
}

TEST_CASE("a format block that is announced but missing is copied as none") {
    MediaType type = VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16);
    CoTaskMemFree(type.pbFormat);
    type.pbFormat = nullptr;
    MediaType copy;
    REQUIRE(copy.CopyFrom(type) == S_OK);
    CHECK(copy.cbFormat == 0);
    CHECK(copy.pbFormat == nullptr);
    CHECK_FALSE(SameMediaType(type, type));  // nothing to compare
}

namespace {
// Takes away the memory of COM's allocator when it is told to. Once registered it stays until the process
// ends: the system may keep a spy for blocks that it has seen.
class TaskMemory final : public IMallocSpy {
  public:
    TaskMemory() { REQUIRE(CoRegisterMallocSpy(this) == S_OK); }

    bool isUsedUp = false;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override { return *out = this, S_OK; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override { return isUsedUp ? 0 : size; }
    void* STDMETHODCALLTYPE PostAlloc(void* block) override { return block; }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL) override { return block; }
    void STDMETHODCALLTYPE PostFree(BOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** request, BOOL) override {
        return *request = block, size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) override { return block; }
    void* STDMETHODCALLTYPE PreGetSize(void* block, BOOL) override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, BOOL) override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, BOOL) override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int was) override { return was; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}
};
}  // namespace

TEST_CASE("a media type for whose copy there is no memory leaves an empty one") {
    const MediaType type = VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16);
    AM_MEDIA_TYPE copy = type;
    static TaskMemory memory;
    memory.isUsedUp = true;
    const HRESULT result = CopyMediaType(type, copy);
    const AM_MEDIA_TYPE* const created = CreateMediaType(type);
    memory.isUsedUp = false;
    CHECK(result == E_OUTOFMEMORY);
    CHECK(created == nullptr);
    CHECK(copy.majortype == GUID_NULL);
    CHECK(copy.cbFormat == 0);
    CHECK(copy.pbFormat == nullptr);
}

TEST_CASE("a proposal leaves open what is GUID_NULL") {
    const MediaType type = VideoType(MEDIASUBTYPE_RGB555, 320, 240, 16);
    struct Row {
        std::string what;
        GUID major, sub;
        int format;  // 0: open, 1: the same, 2: another size
        bool fits;
    };
    for (const Row& row : {
             Row{"all open", GUID_NULL, GUID_NULL, 0, true},
             Row{"major type", MEDIATYPE_Video, GUID_NULL, 0, true},
             Row{"another major type", MEDIATYPE_Audio, GUID_NULL, 0, false},
             Row{"subtype", GUID_NULL, MEDIASUBTYPE_RGB555, 0, true},
             Row{"another subtype", MEDIATYPE_Video, MEDIASUBTYPE_RGB565, 0, false},
             Row{"format", MEDIATYPE_Video, GUID_NULL, 1, true},
             Row{"another format", MEDIATYPE_Video, GUID_NULL, 2, false},
         }) {
        CAPTURE(row.what);
        MediaType proposal = VideoType(row.sub, row.format == 2 ? 640 : 320, 240, 16);
        proposal.majortype = row.major;
        if (row.format == 0) proposal.formattype = GUID_NULL;
        CHECK(MatchesProposal(type, proposal) == row.fits);
        CHECK(IsComplete(proposal) == (row.major != GUID_NULL && row.format != 0));
    }
}
