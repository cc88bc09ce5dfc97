// The emulator, the run-time support and the conversion, by a small DLL made for it: what works, and that
// every fault is reported with its place.
#include "support.h"

#include <doctest/doctest.h>

#include <bit>

#include "emulator/com_object.h"
#include "emulator/process.h"

using namespace ce;

namespace {

struct Fixture {
    Process process;
    Module& provider = process.Load(BuiltDll("provider.dll"));
    Module& module = process.Load(BuiltDll("selftest.dll"));

    i32 Call(const std::string& name, const std::vector<u32>& words = {}) {
        return static_cast<i32>(process.Call(module, name, words));
    }

    // The text of the failure that the call ends in.
    template <typename F>
    static std::string Report(F call) {
        try {
            call();
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "(nothing was reported)";
    }
    std::string Fail(const std::string& name, const std::vector<u32>& words = {}) {
        return Report([&] { Call(name, words); });
    }
};

const Guid kIidAdder = ParseGuid("11111111-2222-3333-4444-555555555555");

struct HostAdder : HostObject {
    explicit HostAdder(Process& owner) : HostObject(owner, "adder", Listed::Always) {
        Implement(kIidAdder, "IAdder",
                  {Method("Add", [this](i64 one, i64 other, double factor, u32 out) -> u32 {
                      machine.Write(out, one + static_cast<i64>(static_cast<double>(other) * factor));
                      return kOk;
                  })});
    }
};

bool Has(const std::string& text, const char* part) {
    const bool found = text.find(part) != std::string::npos;
    if (!found) std::printf("in:\n%s\n", text.c_str());
    return found;
}

}  // namespace

TEST_CASE_FIXTURE(Fixture, "the image is a Windows CE DLL and runs at another base than its own") {
    CHECK(module.image.machine == 0x01C0);
    CHECK(module.image.subsystem == 9);
    CHECK(module.image.majorVersion == 5);
    CHECK(module.base != PeImage::Read(BuiltDll("selftest.dll")).base);
    CHECK(module.image.relocations.size() > 50);
}

TEST_CASE_FIXTURE(Fixture, "statics, arithmetic, strings and exceptions") {
    CHECK(Call("StaticSum") == 21 + 22 + 23);
    CHECK(Call("CatchInHere", {77}) == 77);
    CHECK(Call("CatchOutOfMemory") == 1);
    CHECK(Call("UnwindThroughJump", {5}) == 7);
    CHECK(Call("Divide", {123456, 789}) ==
          static_cast<i32>(123456LL * 1000000007LL / 789 % 1000003) + 123456 / 789);
    const u32 text = process.NewText(u"camera");
    CHECK(Call("Narrow", {text}) == 8 + 100);
    process.heap.Free(text);
    CHECK(Call("ThreadIds") == static_cast<i32>(process.scheduler.Current().id ^ 0x42000));
}

TEST_CASE_FIXTURE(Fixture, "threads that throw while others handle") {
    const size_t handles = process.Handles();
    const u32 mark = process.heap.Mark();
    CHECK(Call("RunWorkers", {6}) == 21);
    CHECK(process.Handles() == handles);
    CHECK(process.heap.LeakedSince(mark) == "");
    CHECK(process.scheduler.DeepestStack() > 100);
}

TEST_CASE_FIXTURE(Fixture, "imports by ordinal and by name from a DLL made the same way") {
    CHECK(Call("CallProvider", {9}) == 81 + 8);
}

TEST_CASE_FIXTURE(Fixture, "COM in both directions, with 64-bit arguments that begin at an odd register") {
    HostAdder adder(process);
    const u32 pointer = adder.Query(kIidAdder);
    CHECK(process.CallLong(module, "CallAdder", {pointer}) == 0x100000001ULL + 0x400000004ULL);
    CHECK(Calls(process).List() == std::vector<std::string>{"IAdder::Add"});

    const u32 guest = process.Call(module, "MakeAdder");
    const u32 sum = HostMemory(process, 8);
    const u64 factor = std::bit_cast<u64>(0.5);
    CHECK(CallMethod(process, guest, 3,
                     {5, 1, 8, 0, static_cast<u32>(factor), static_cast<u32>(factor >> 32), sum}) == kOk);
    CHECK(process.machine.Read<u64>(sum) == 0x100000005ULL + 4);
    CHECK(Release(process, guest) == 0);
}

TEST_CASE_FIXTURE(Fixture, "the other calling convention is noticed") {
    HostAdder adder(process);
    const u32 pointer = adder.Query(kIidAdder);
    Module& other = process.Load(BuiltDll("other_convention.dll"));
    // The caller leaves out a register, and the called function looks for its last argument a word too far.
    CHECK(Has(Report([&] { process.Call(other, "CallAdder", {pointer}); }),
              "the caller of IAdder::Add passes nothing in word 1"));
    const u32 guest = process.Call(other, "MakeAdder");
    const std::string text = Report([&] {
        CallMethod(process, guest, 3, {5, 1, 8, 0, 0, 0x3FE00000, HostMemory(process, 8)});
    });
    CHECK(Has(text, "past the arguments of Adder::Add("));
    CHECK(Has(text, "the other calling convention"));
}

TEST_CASE_FIXTURE(Fixture, "faults of the program are reported with their place") {
    const u32 block = process.NewBlock(16);
    SUBCASE("unaligned load") {
        const std::string text = Fail("LoadUnaligned", {block});
        CHECK(Has(text, "unaligned load of 4 bytes"));
        CHECK(Has(text, "LoadUnaligned"));
    }
    SUBCASE("stack overflow") {
        const std::string text = Fail("Overflow");
        CHECK(Has(text, "stack overflow"));
        CHECK(Has(text, "Recurse(int)"));
    }
    SUBCASE("deadlock") {
        const std::string text = Fail("Deadlock");
        CHECK(Has(text, "deadlock"));
        CHECK(Has(text, "thread main waits for event"));
        CHECK(Has(text, "Deadlock"));
    }
    SUBCASE("a register that has to be kept") {
        CHECK(Has(Fail("Clobber"), "register r4 was not kept by Clobber"));
    }
    SUBCASE("an import that nobody provides") {
        const std::string text = Fail("CallUnbound");
        CHECK(Has(text, "unbound import: late.dll!lateFunction"));
        CHECK(Has(text, "CallUnbound"));
    }
    SUBCASE("a wild pointer") {
        CHECK(Has(Fail("StoreThroughNull"), "invalid store of 4 bytes at 0x00000004 in StoreThroughNull"));
    }
}

TEST_CASE_FIXTURE(Fixture, "the instruction count repeats") {
    process.machine.CheckAlignment(false);
    Call("CatchInHere", {1});  // the first exception of a thread makes room for its state
    u64 counts[3];
    for (u64& count : counts) {
        process.machine.StartCounting();
        Call("CatchInHere", {1});
        count = process.machine.StopCounting();
    }
    CHECK(counts[0] > 1000);
    CHECK(counts[1] == counts[2]);
    CHECK(counts[0] == counts[1]);
}

TEST_CASE_FIXTURE(Fixture, "unloading leaves nothing on the heap") {
    Call("CatchInHere", {3});
    process.Unload(module);
    process.Unload(provider);
    CHECK(process.heap.LeakedSince(0) == "");
}
