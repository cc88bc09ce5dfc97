#include "emulator/graph/watch.h"

#include "emulator/graph/filters.h"
#include "emulator/text.h"

namespace ce {

namespace {

// How the arguments are logged: w wide text, n a number, o whether there is something; - not at all. An
// argument is a word each.
struct WatchedMethod {
    const char* name;
    const char* arguments;
};
struct WatchedInterface {
    const char* name;
    Guid iid;
    std::vector<WatchedMethod> methods;
};

const WatchedInterface kPins = {
    "IEnumPins", kIidEnumPins, {{"Next", "n--"}, {"Skip", "n"}, {"Reset", ""}, {"Clone", "-"}}};
const WatchedInterface kInterfaces[] = {
    {"IBaseFilter",
     kIidBaseFilter,
     {{"GetClassID", "-"},
      {"Stop", ""},
      {"Pause", ""},
      {"Run", "--"},
      {"GetState", "--"},
      {"SetSyncSource", "-"},
      {"GetSyncSource", "-"},
      {"EnumPins", "-"},
      {"FindPin", "w-"},
      {"QueryFilterInfo", "-"},
      {"JoinFilterGraph", "-w"},
      {"QueryVendorInfo", "-"}}},
    {"ISampleGrabberControl",
     ParseGuid("00BE5B5E-CCA0-4A9F-B198-DF2FACE82D57"),
     {{"SetCallback", "-"}, {"GetGeometry", "-"}, {"GetInputMediaType", "-"}}},
    {"IStillImageSinkControl",
     ParseGuid("B587032B-B600-430E-8DE1-4ECE44B5B300"),
     {{"SetCallback", "-"},
      {"SetFileName", "w"},
      {"SetQualityLevel", "n"},
      {"SetText", "ooooo"},
      {"GetBitmap", "-"}}}};

class WatchedObject final : public HostObject {
  public:
    WatchedObject(Process& owner, std::string logName, const WatchedInterface& first, u32 pointer)
        : HostObject(owner, "watched " + logName, Listed::WhileWatched), name(std::move(logName)) {
        Watch(first, pointer);
    }

    void Watch(const WatchedInterface& interface, u32 pointer) {
        if (!real) real = pointer;
        pointers.push_back(pointer);
        std::vector<MethodEntry> methods;
        u32 slot = 3;
        for (const WatchedMethod& method : interface.methods) {
            const bool isFilter = interface.iid == kIidBaseFilter;
            const auto forward = [=, this](Arguments& arguments) -> u64 {
                return Forward(pointer, slot, method, isFilter, arguments);
            };
            const bool tells = isFilter || std::string_view(method.arguments).find_first_of("wno") < 10;
            methods.push_back({method.name, forward, tells});
            ++slot;
        }
        Implement(interface.iid, interface.name, std::move(methods));
    }

    u32 real = 0;  // the first interface

  protected:
    void OnLastRelease() override {
        for (const u32 pointer : std::exchange(pointers, {})) Release(process, pointer);
    }
    u32 QueryElsewhere(const Guid& iid) override { return QueryInterface(process, real, iid); }

  private:
    u64 Forward(u32 pointer, u32 slot, const WatchedMethod& method, bool isFilter, Arguments& arguments) {
        std::vector<u32> words;
        std::string text = isFilter ? name : "";
        for (const char* kind = method.arguments; *kind; ++kind) {
            words.push_back(arguments.Word());
            if (*kind == '-') continue;
            if (!text.empty()) text += ' ';
            text += *kind == 'n'   ? std::to_string(static_cast<i32>(words.back()))
                    : *kind == 'o' ? std::string(words.back() ? "set" : "0")
                    : words.back() ? ToUtf8(machine.Text(words.back()))
                                   : "null";
        }
        if (!text.empty()) Calls(process).Detail(text);
        const u32 result = CallMethod(process, pointer, slot, words);
        if (std::string_view(method.name) != "EnumPins" || result != kOk) return result;
        auto pins = std::make_unique<WatchedObject>(process, name, kPins, machine.Read<u32>(words[0]));
        machine.Write(words[0], pins->Query(kIidEnumPins));
        return Keep(process, std::move(pins)), result;
    }

    const std::string name;
    std::vector<u32> pointers;  // with a reference each
};

}  // namespace

u32 WatchFilter(Process& process, const std::string& name, const Guid& iid, u32 pointer) {
    std::unique_ptr<WatchedObject> watched;
    for (const WatchedInterface& interface : kInterfaces) {
        const u32 found = QueryInterface(process, pointer, interface.iid);
        if (!found) continue;
        if (watched) {
            watched->Watch(interface, found);
        } else {
            watched = std::make_unique<WatchedObject>(process, name, interface, found);
        }
    }
    if (!watched) return pointer;
    Release(process, pointer);
    const u32 given = watched->Query(iid);
    Keep(process, std::move(watched));
    return given;
}

u32 Unwatched(Process& process, u32 pointer) {
    const auto* watched = dynamic_cast<const WatchedObject*>(HostObject::At(process, pointer));
    return watched ? watched->real : pointer;
}

std::set<std::string> WatchedCalls() {
    std::set<std::string> calls;
    const auto add = [&](const WatchedInterface& interface) {
        for (const WatchedMethod& method : interface.methods)
            calls.insert(std::string(interface.name) + "::" + method.name);
        calls.insert(std::string(interface.name) + "::QueryInterface");
    };
    for (const WatchedInterface& interface : kInterfaces) add(interface);
    add(kPins);
    return calls;
}

bool IsCameraCall(const std::string& call) {
    const std::string method = call.substr(0, call.find(' '));
    if (method == "CoCreateInstance") return call == "CoCreateInstance CaptureFilter";
    if (method == "IBaseFilter::QueryInterface")
        return call.find(" IPersistPropertyBag") != std::string::npos ||
               call.find(" IAM") != std::string::npos;
    if (method.starts_with("IBaseFilter::")) return call == method + " CaptureFilter";
    return method.starts_with("IPersistPropertyBag::") || method.starts_with("IAM") ||
           method.starts_with("IPin::");
}

}  // namespace ce
