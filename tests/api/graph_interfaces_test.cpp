#include "dshow_camera/graph_interfaces.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using namespace cam;

namespace {
std::string released;

// Notes its letter when it is let go.
struct Noted final : IUnknown {
    explicit Noted(char its) : letter(its) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return released += letter, 1; }
    char letter;
};
}  // namespace

// Drivers depend on the order in which a graph is let go.
TEST_CASE("a graph lets go of what was acquired last first; destroyed, of its last member first") {
    Noted objects[] = {Noted('a'), Noted('b'), Noted('c'), Noted('d'), Noted('e'), Noted('f'), Noted('g'),
                       Noted('h'), Noted('i'), Noted('j'), Noted('k'), Noted('l'), Noted('m')};
    size_t next = 0;
    // Only AddRef and Release are called, which every interface begins with.
    const auto fill = [&](auto& pointer) {
        *reinterpret_cast<void**>(pointer.putVoid()) = static_cast<IUnknown*>(&objects[next++]);
    };
    for (const bool destroyed : {false, true}) {
        released.clear();
        next = 0;
        {
            GraphInterfaces graph;
            // In the order in which building and previewing acquire them.
            fill(graph.builder), fill(graph.filterGraph), fill(graph.mediaControl), fill(graph.captureFilter);
            fill(graph.videoRenderer), fill(graph.grabber), fill(graph.grabberControl), fill(graph.sink);
            fill(graph.sinkControl), fill(graph.stillPin), fill(graph.sinkPin), fill(graph.videoControl);
            fill(graph.videoWindow);
            if (!destroyed) graph.Release();
        }
        // What is destroyed unreleased goes from the last member to the first.
        CHECK(released == (destroyed ? "gfmljkihbceda" : "mlkjihgfedcba"));
    }
}
