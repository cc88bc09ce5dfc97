#include "emulator/com_object.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace ce {

namespace {

constexpr u32 kArena = 0x50000000, kArenaBytes = 0x04000000;

struct Arena {
    u32 next = 0;
};

using KeptObjects = std::vector<std::unique_ptr<HostObject>>;

}  // namespace

// Shared by all objects of a process, the last of which may outlive it.
struct HostObjects {
    std::vector<HostObject*> all;
    std::map<u32, std::pair<HostObject*, HostObject::Facet*>> facets;  // by their addresses
    std::map<std::string, u32> tables;                                 // of methods, by their interface
    std::multimap<u32, u32> freeBlocks;                                // addresses by size
};

Guid ParseGuid(std::string_view text) {
    std::array<u8, 16> digits{};
    size_t count = 0;
    for (const char c : text) {
        if (!std::isxdigit(static_cast<unsigned char>(c)) || count == 32) continue;
        const u8 value = static_cast<u8>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
        digits[count / 2] = static_cast<u8>(digits[count / 2] << 4 | value);
        ++count;
    }
    if (count != 32) throw Failure("no GUID: " + std::string(text));
    // The first three fields are numbers, stored with their low byte first.
    return {{digits[3], digits[2], digits[1], digits[0], digits[5], digits[4], digits[7], digits[6],
             digits[8], digits[9], digits[10], digits[11], digits[12], digits[13], digits[14], digits[15]}};
}

Guid ReadGuid(Machine& machine, u32 address) {
    return machine.Read<Guid>(address);
}

void WriteGuid(Machine& machine, u32 address, const Guid& guid) {
    machine.Write(address, guid);
}

std::string FormatGuid(const Guid& guid) {
    const auto& b = guid.bytes;
    char text[40];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text;
}

CallLog& Calls(Process& process) {
    auto& log = process.Attachment<std::optional<CallLog>>("calls");
    if (!log) log.emplace(process.scheduler);
    return *log;
}

void CallLog::Add(const std::string& call, const std::string& arguments, Listed listed) {
    Obey(Note(call, arguments, Lists(listed)));
}

void CallLog::AddOnObject(const std::string& call, Listed listed, bool tells) {
    const kit::Verdict verdict = Note(call, {}, Lists(listed));
    if (onCall) onCall(call);
    untold = tells ? verdict : kit::Verdict();
    if (!tells) Obey(verdict);
}

void CallLog::Detail(const std::string& text) {
    kit::Verdict verdict = NoteArguments(text);
    verdict.delayMs += untold.delayMs;
    if (untold.result) verdict.result = untold.result;
    untold = {};
    Obey(verdict);
}

void CallLog::Answer(const std::string& call, u32 result) {
    Play({{.call = call, .times = 0, .result = result}});
}

void CallLog::Obey(const kit::Verdict& verdict) const {
    if (verdict.delayMs > 0) scheduler.Sleep(verdict.delayMs);
    if (verdict.result) throw Refusal{*verdict.result};
}

MethodEntry Unused(std::string name) {
    return {std::move(name), [](Arguments&) -> u64 { return kNotImplemented; }};
}

u32 HostMemory(Process& process, u32 size) {
    auto& arena = process.Attachment<Arena>("host memory");
    if (arena.next == 0) {
        process.machine.Map(kArena, kArenaBytes);
        arena.next = kArena;
    }
    const u32 address = arena.next;
    arena.next += (size + 7) / 8 * 8;
    if (arena.next > kArena + kArenaBytes) throw Failure("the host's memory is used up");
    return address;
}

namespace {

std::shared_ptr<HostObjects> ObjectsOf(Process& process) {
    auto& slot = process.attachments["host objects"];
    if (!slot) slot = std::make_shared<HostObjects>();
    return std::static_pointer_cast<HostObjects>(slot);
}

}  // namespace

HostObject::HostObject(Process& owner, std::string objectName, Listed isListed)
    : process(owner),
      machine(owner.machine),
      label(std::move(objectName)),
      listed(isListed),
      objects(ObjectsOf(owner)) {
    objects->all.push_back(this);
}

HostObject::~HostObject() {
    std::erase(objects->all, this);
    for (const auto& [iid, facet] : interfaces) objects->facets.erase(facet.pointer);
}

u32 HostObject::TakeBlock(u32 size) {
    const auto found = objects->freeBlocks.find(size);
    if (found == objects->freeBlocks.end()) return HostMemory(process, size);
    const u32 block = found->second;
    objects->freeBlocks.erase(found);
    return block;
}

void HostObject::GiveBackBlock(u32 block, u32 size) {
    objects->freeBlocks.emplace(size, block);
}

HostObject* HostObject::At(Process& process, u32 pointer) {
    const auto& facets = ObjectsOf(process)->facets;
    const auto found = facets.find(pointer);
    return found == facets.end() ? nullptr : found->second.first;
}

void Keep(Process& process, std::unique_ptr<HostObject> object) {
    auto& kept = process.Attachment<KeptObjects>("kept objects");
    std::erase_if(kept, [](const auto& one) { return one->Idle(); });
    kept.push_back(std::move(object));
}

u32 HostObject::Interface(const Guid& iid) const {
    if (iid == kIidUnknown) return primary;
    const auto found = interfaces.find(iid);
    return found == interfaces.end() ? 0 : found->second.pointer;
}

u32 HostObject::Query(const Guid& iid) {
    const u32 pointer = Interface(iid);
    if (pointer) ++references;
    return pointer;
}

u32 HostObject::ReleaseReference() {
    if (references <= 0)
        throw Failure(label + " was released more often than referred to\n" + machine.Backtrace());
    if (--references == 0) {
        leaving = true;
        OnLastRelease();
        leaving = false;
    }
    return static_cast<u32>(references);
}

u32 HostObject::AnswerQuery(const Facet& facet, u32 wanted, u32 out) {
    const Guid wantedId = ReadGuid(machine, wanted);
    machine.Write(out, 0u);
    if (const auto found = interfaces.find(wantedId); found != interfaces.end())
        Calls(process).Add(facet.name + "::QueryInterface", found->second.name, facet.listed);
    u32 pointer = Query(wantedId);
    if (!pointer) pointer = QueryElsewhere(wantedId);
    machine.Write(out, pointer);
    return pointer ? kOk : kNoInterface;
}

u64 HostObject::Call(const Facet& facet, size_t index, Arguments& arguments) {
    constexpr size_t kUnknownMethods = 3;
    const MethodEntry& method = facet.methods[index];
    const std::string name = facet.name + "::" + method.name;
    if (references <= 0)
        throw Failure(name + " on " + label + ", to which nobody holds a reference\n" + machine.Backtrace());
    try {
        if (index >= kUnknownMethods && facet.listed != Listed::Unseen) {
            Calls(process).AddOnObject(name, facet.listed, method.tells);
            if (const u32 refusal = Refusal(name)) return refusal;
        }
        return method.handler(arguments);
    } catch (const CallLog::Refusal& refusal) {
        return refusal.result;
    }
}

void HostObject::Implement(const Guid& iid, const std::string& interfaceName,
                           std::vector<MethodEntry> methods) {
    Implement(iid, interfaceName, std::move(methods), listed);
}

// All objects with an interface share its table: the stubs tell them apart by the object's address.
void HostObject::Implement(const Guid& iid, const std::string& interfaceName,
                           std::vector<MethodEntry> methods, Listed isListed) {
    Facet& facet = interfaces[iid];
    std::vector<MethodEntry> all;
    all.push_back(Method("QueryInterface",
                         [this, &facet](u32 wanted, u32 out) { return AnswerQuery(facet, wanted, out); }));
    all.push_back(Method("AddRef", [this]() -> u32 { return static_cast<u32>(++references); }));
    all.push_back(Method("Release", [this]() -> u32 { return ReleaseReference(); }));
    for (auto& method : methods) all.push_back(std::move(method));

    u32& table = objects->tables[interfaceName];
    if (!table) table = HostMemory(process, 4 * static_cast<u32>(all.size()));
    for (size_t i = 0; i < all.size(); ++i) {
        const u32 entry = table + 4 * static_cast<u32>(i);
        const std::string full = interfaceName + "::" + all[i].name;
        facet.methods.push_back(std::move(all[i]));
        if (machine.Read<u32>(entry)) continue;
        process.Attachment<std::set<std::string>>("known calls").insert(full);
        Process& owner = process;
        machine.Write(entry, machine.AddStub(full, [&owner, full, i](Arguments& arguments) -> u64 {
            const auto& facets = ObjectsOf(owner)->facets;
            const auto found = facets.find(arguments.Word());
            if (found == facets.end())
                throw Failure(full + " on an object that is gone\n" + owner.machine.Backtrace());
            const auto& [object, called] = found->second;
            return object->Call(*called, i, arguments);
        }));
    }
    facet.pointer = HostMemory(process, 8);
    facet.name = interfaceName;
    facet.listed = isListed;
    machine.Write(facet.pointer, table);
    if (!primary) primary = facet.pointer;
    objects->facets[facet.pointer] = {this, &facet};
}

std::string ReferencedObjects(Process& process) {
    std::string text;
    for (const HostObject* object : ObjectsOf(process)->all) {
        if (object->References())
            text += "  " + object->Name() + " (" + std::to_string(object->References()) + ")\n";
    }
    return text;
}

u32 CountReferencedObjects(Process& process) {
    const auto& all = ObjectsOf(process)->all;
    return static_cast<u32>(std::count_if(all.begin(), all.end(), [](const HostObject* one) {
        return one->References() != 0 && one->IsSeen();
    }));
}

u32 CallMethod(Process& process, u32 pointer, u32 index, std::vector<u32> words) {
    words.insert(words.begin(), pointer);
    const u32 table = process.machine.Read<u32>(pointer);
    return static_cast<u32>(process.machine.Call(process.machine.Read<u32>(table + 4 * index), words));
}

u32 QueryInterface(Process& process, u32 pointer, const Guid& iid) {
    const u32 place = HostMemory(process, 24);
    WriteGuid(process.machine, place + 8, iid);
    const u32 result = CallMethod(process, pointer, 0, {place + 8, place});
    return result == kOk ? process.machine.Read<u32>(place) : 0;
}

u32 Release(Process& process, u32 pointer) {
    return CallMethod(process, pointer, 2);
}

u32 AllocateBstr(Process& process, std::u16string_view text) {
    const u32 bytes = static_cast<u32>(2 * text.size());
    const u32 block = process.heap.Allocate(bytes + 6, true);
    if (!block) return 0;
    process.machine.Write(block, bytes);
    std::memcpy(process.machine.Bytes(block + 4, bytes), text.data(), bytes);
    return block + 4;
}

}  // namespace ce
