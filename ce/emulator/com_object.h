// COM in both directions: objects of the test's that the program calls, and calls on the program's objects.
#pragma once

#include <array>
#include <initializer_list>

#include "emulator/process.h"
#include "rules/call_rules.h"

namespace ce {

struct Guid {
    std::array<u8, 16> bytes{};
    auto operator<=>(const Guid&) const = default;
};
// From the form {F80B6E95-B55A-4619-AEC4-A10EAEDE980C}, with or without braces.
Guid ParseGuid(std::string_view text);
Guid ReadGuid(Machine& machine, u32 address);
void WriteGuid(Machine& machine, u32 address, const Guid& guid);
std::string FormatGuid(const Guid& guid);

constexpr u32 kOk = 0, kFalse = 1, kNotImplemented = 0x80004001, kNoInterface = 0x80004002,
              kPointer = 0x80004003, kFail = 0x80004005, kClassNotRegistered = 0x80040154,
              kInvalidArgument = 0x80070057, kOutOfMemory = 0x8007000E, kUnexpected = 0x8000FFFF;
const Guid kIidUnknown = ParseGuid("00000000-0000-0000-C000-000000000046");
const Guid kIidClassFactory = ParseGuid("00000001-0000-0000-C000-000000000046");

// Which calls on an object are listed: those on the camera always, those on the graph and its helpers only
// while it is watched, and those on what belongs to neither never. All are counted and obey the rules, but
// for those that are unseen.
enum class Listed { Unseen, Never, WhileWatched, Always };

// The calls on host objects in their order, "IMediaControl::Run", with what matters of the arguments behind a
// space. A call for which the rules have a result is not carried out but answered with it.
class CallLog : public kit::CallRules {
  public:
    explicit CallLog(Scheduler& clock) : scheduler(clock) {}

    bool watchesGraph = true;

    struct Refusal {
        u32 result;
    };
    // Each throws a Refusal.
    void Add(const std::string& call, const std::string& arguments, Listed listed);
    // Tells `onCall`. A call that `tells` its arguments is judged with them.
    void AddOnObject(const std::string& call, Listed listed, bool tells);
    void Detail(const std::string& text);

    // Every call of that name, or with those arguments, is answered so from now on.
    void Answer(const std::string& call, u32 result);
    // Told of each call on an object, but for those of IUnknown, before it is carried out.
    std::function<void(const std::string& call)> onCall;

  private:
    void Obey(const kit::Verdict& verdict) const;
    bool Lists(Listed listed) const {
        return listed == Listed::Always || (listed == Listed::WhileWatched && watchesGraph);
    }

    Scheduler& scheduler;
    kit::Verdict untold;  // of the call whose arguments are to come
};
CallLog& Calls(Process& process);

struct MethodEntry {
    std::string name;
    Handler handler;  // the object's own address has been taken from the arguments
    bool tells = false;
};

template <typename F>
MethodEntry Method(std::string name, F function) {
    return {std::move(name), MakeHandler(std::function(std::move(function)))};
}
// One that gives the log its arguments before it does anything.
template <typename F>
MethodEntry Told(std::string name, F function) {
    return {std::move(name), MakeHandler(std::function(std::move(function))), true};
}
// In the table, but never called by what is tested: answers "not implemented".
MethodEntry Unused(std::string name);

// An object with as many interfaces as wanted. The program holds references; the host decides when the object
// goes, and a call on one that is gone is a fault of the program's.
class HostObject {
  public:
    HostObject(Process& owner, std::string objectName, Listed isListed = Listed::Never);
    virtual ~HostObject();
    HostObject(const HostObject&) = delete;

    // The interface's address in the program's memory, without a reference. 0: none such.
    u32 Interface(const Guid& iid) const;
    // With a reference, as QueryInterface.
    u32 Query(const Guid& iid);
    void AddReference() { ++references; }
    u32 ReleaseReference();
    i32 References() const { return references - held; }
    const std::string& Name() const { return label; }
    bool IsSeen() const { return listed != Listed::Unseen; }
    // Whether nobody needs it any more.
    virtual bool Idle() const { return References() <= 0 && !leaving; }
    // The host's object that has the interface at this address; null: it is the program's.
    static HostObject* At(Process& process, u32 pointer);

  protected:
    // `methods`: those behind IUnknown's, in the table's order. The first interface also answers for
    // IUnknown.
    void Implement(const Guid& iid, const std::string& name, std::vector<MethodEntry> methods);
    void Implement(const Guid& iid, const std::string& name, std::vector<MethodEntry> methods,
                   Listed isListed);
    virtual void OnLastRelease() {}
    // An interface that another object has in its place, with a reference; 0: none.
    virtual u32 QueryElsewhere(const Guid&) { return 0; }
    // What a call is answered with instead of being carried out, once the rules have let it pass; kOk: none.
    virtual u32 Refusal(const std::string&) { return kOk; }
    // The host itself holds it, so that it can be called while the program has no reference.
    void HoldByHost() { references = held = 1; }
    // HostMemory for what is large and comes and goes with the object.
    u32 TakeBlock(u32 size);
    void GiveBackBlock(u32 block, u32 size);
    // For an object that took a reference in OnLastRelease to see it through.
    void DropLastReference() { references = 0; }

    Process& process;
    Machine& machine;

  private:
    friend struct HostObjects;
    struct Facet {
        u32 pointer = 0;
        std::string name;
        Listed listed = Listed::Never;
        std::vector<MethodEntry> methods;
    };
    u64 Call(const Facet& facet, size_t index, Arguments& arguments);
    u32 AnswerQuery(const Facet& facet, u32 wanted, u32 out);

    std::string label;
    const Listed listed;
    const std::shared_ptr<struct HostObjects> objects;
    std::map<Guid, Facet> interfaces;
    u32 primary = 0;
    i32 references = 0;
    i32 held = 0;
    bool leaving = false;
};

// Keeps the object as long as it is needed.
void Keep(Process& process, std::unique_ptr<HostObject> object);

// All host objects of the process that the program still refers to, with their counts; empty when it let go
// of all.
std::string ReferencedObjects(Process& process);
u32 CountReferencedObjects(Process& process);  // without those that are unseen

// Calls method `index` of the program's (or a host's) object at `pointer`.
u32 CallMethod(Process& process, u32 pointer, u32 index, std::vector<u32> words = {});
u32 QueryInterface(Process& process, u32 pointer, const Guid& iid);
u32 Release(Process& process, u32 pointer);
// Memory for the host's own use in the program's address space; never freed, and not part of its heap.
u32 HostMemory(Process& process, u32 size);

// CoCreateInstance finds classes here, and logs their names; a creator returns an interface with a reference,
// or 0 and the reason.
using Creator = std::function<u32(const Guid& iid, u32& result)>;
// Where no creator is registered, the process's registry names the DLL.
void RegisterClass(Process& process, const Guid& clsid, const std::string& name, Creator creator,
                   Listed listed = Listed::Never);
// Told of each object that a registered DLL has made, with a reference: gives what the program gets for it.
using Wrapper = std::function<u32(const std::string& name, const Guid& iid, u32 pointer)>;

// An object from the class factory of a module of the program's, with a reference; 0 and the reason.
u32 CreateFromModule(Process& process, const Module& module, const Guid& clsid, const Guid& iid, u32& result,
                     u32 outer = 0);

// BSTRs.
u32 AllocateBstr(Process& process, std::u16string_view text);

}  // namespace ce
