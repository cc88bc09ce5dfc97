// The filter graph and its builder, played by the host for one process, with the classes registered for the
// program to create.
#pragma once

#include <deque>
#include <set>
#include <string>

#include "emulator/kernel_objects.h"
#include "emulator/graph/filters.h"

namespace ce {

class FilterGraph final : public HostObject {
  public:
    explicit FilterGraph(Process& owner);
    int state = 0;
    std::vector<u32> filters;  // with a reference each
    u32 Disconnect(u32 pin);
    void Notify(u32 code, u32 first, u32 second);
    u32 windowOwner = 0;  // as the program left it
    std::map<u32, HostPin*> hostPins;

  protected:
    void OnLastRelease() override;

  private:
    void ImplementGraph();
    void ImplementControl();
    void ImplementEvents();
    void ImplementWindow();
    u32 ChangeState(int wanted);

    struct GraphEvent {
        u32 code, first, second;
    };
    std::deque<GraphEvent> events;
    std::shared_ptr<Event> signal = std::make_shared<Event>();
    u32 eventHandle = 0;
};

// The platform: what the program can create, and what became of it.
struct Platform {
    explicit Platform(Process& owner);
    Process& process;
    CaptureFilter capture;
    Renderer renderer;
    FilterGraph* graph = nullptr;  // the one created last, as long as it is needed
    // From now on; counts and list of the calls begin anew.
    void Play(kit::Scenario scenario);
    // The library's own filter classes come from this module's class factory.
    void RegisterFilters(const Module& module);
};

// The calls on the platform's objects that are seen, as "IMediaControl::Run".
const std::set<std::string>& KnownCalls();

const Guid kClsidGrabber = ParseGuid("B62F694E-0593-4E60-AA1C-16AF6496AC39");
const Guid kClsidSink = ParseGuid("BCEED521-A101-45A9-8B7D-1583466FD57C");
const Guid kCameraClass = ParseGuid("CB998A05-122C-4166-846A-933E4D7E3C86");

}  // namespace ce
