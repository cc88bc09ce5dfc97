// ole32 and oleaut32: classes, BSTRs, VARIANTs.
#include <algorithm>
#include <cstring>

#include "emulator/com_object.h"
#include "emulator/registry.h"
#include "emulator/text.h"

namespace ce {

namespace {

const std::string kOle = "ole32.dll", kAutomation = "oleaut32.dll";
constexpr u16 kVariantBstr = 8, kVariantDispatch = 9, kVariantUnknown = 13;
constexpr u32 kVariantBytes = 16;
constexpr u32 kNotInitialized = 0x800401F0, kModeChanged = 0x80010106, kModuleNotFound = 0x8007007E;

struct Apartments {
    std::map<u32, int> entered;  // by thread
};

struct Class {
    std::string name;
    Creator create;
    Listed listed;
};
using Classes = std::map<Guid, Class>;

std::u16string TextOf(const Registry::Value& value) {
    std::u16string text(value.contents.size() / 2, u'\0');
    std::memcpy(text.data(), value.contents.data(), 2 * text.size());
    return text.substr(0, text.find(u'\0'));
}

// A class that a DLL registered, from that DLL's class factory.
u32 CreateRegistered(Process& process, const Guid& clsid, u32 outer, const Guid& iid, u32& result) {
    auto& values = process.Attachment<Registry>("registry").values;
    const std::u16string key = LowerCase(RegistryPath(kClassesRoot, FromUtf8("CLSID\\" + FormatGuid(clsid))));
    const auto server = values.find({key + u"\\inprocserver32", u""});
    const auto name = values.find({key, u""});
    result = kClassNotRegistered;
    if (server == values.end()) return 0;
    const std::string className = name == values.end() ? "" : ToUtf8(TextOf(name->second));
    // What becomes part of another object is the program's alone.
    if (!outer) Calls(process).Add("CoCreateInstance", className, Listed::WhileWatched);
    const std::u16string path = TextOf(server->second);
    const Module* module = process.FindOrLoad(ToUtf8(path.substr(path.find_last_of(u'\\') + 1)));
    result = kModuleNotFound;
    const u32 pointer = module ? CreateFromModule(process, *module, clsid, iid, result, outer) : 0;
    const auto& wrap = process.Attachment<Wrapper>("wrapper");
    return pointer && !outer && wrap ? wrap(className, iid, pointer) : pointer;
}

u32 Create(Process& process, u32 clsid, u32 outer, u32 iid, u32 out) {
    process.machine.Write(out, 0u);
    const Guid wanted = ReadGuid(process.machine, clsid);
    auto& classes = process.Attachment<Classes>("classes");
    const auto found = classes.find(wanted);
    const Guid interface = ReadGuid(process.machine, iid);
    try {
        u32 result = kNoInterface;
        u32 pointer = 0;
        if (found == classes.end()) {
            pointer = CreateRegistered(process, wanted, outer, interface, result);
        } else {
            Calls(process).Add("CoCreateInstance", found->second.name, found->second.listed);
            pointer = found->second.create(interface, result);
        }
        process.machine.Write(out, pointer);
        return pointer ? kOk : result;
    } catch (const CallLog::Refusal& refusal) {
        return refusal.result;
    }
}

void BindBstrs(Process& p) {
    p.Bind(kAutomation, "SysAllocString",
           [&p](u32 text) -> u32 { return text ? AllocateBstr(p, p.machine.Text(text)) : 0; });
    p.Bind(kAutomation, "SysFreeString", [&p](u32 text) {
        if (text) p.heap.Free(text - 4);
    });
}

void BindVariants(Process& p) {
    const auto clear = [&p](u32 variant) -> u32 {
        const u16 type = p.machine.Read<u16>(variant);
        const u32 value = p.machine.Read<u32>(variant + 8);
        p.machine.Write(variant, u16{0});
        if (type == kVariantBstr && value) p.heap.Free(value - 4);
        if ((type == kVariantDispatch || type == kVariantUnknown) && value) Release(p, value);
        return kOk;
    };
    p.Bind(kAutomation, "VariantInit", [&p](u32 variant) { p.machine.Write(variant, u16{0}); });
    p.Bind(kAutomation, "VariantClear", clear);
    p.Bind(kAutomation, "VariantCopy", [&p, clear](u32 to, u32 from) -> u32 {
        if (to == from) return kOk;
        clear(to);
        for (u32 i = 0; i < kVariantBytes; i += 4) p.machine.Write(to + i, p.machine.Read<u32>(from + i));
        const u16 type = p.machine.Read<u16>(from);
        const u32 value = p.machine.Read<u32>(from + 8);
        if (type == kVariantBstr && value) {
            const u32 copy = AllocateBstr(p, p.machine.Text(value));
            p.machine.Write(to + 8, copy);
            if (!copy) return p.machine.Write(to, u16{0}), kOutOfMemory;
        }
        if ((type == kVariantDispatch || type == kVariantUnknown) && value) CallMethod(p, value, 1);
        return kOk;
    });
}

}  // namespace

u32 CreateFromModule(Process& process, const Module& module, const Guid& clsid, const Guid& iid, u32& result,
                     u32 outer) {
    constexpr u32 kCreateInstance = 3;
    const u32 getClass = process.Address(module, "DllGetClassObject");
    const u32 place = HostMemory(process, 48);
    WriteGuid(process.machine, place + 8, clsid);
    WriteGuid(process.machine, place + 24, kIidClassFactory);
    result = static_cast<u32>(process.machine.Call(getClass, {place + 8, place + 24, place}));
    if (result != kOk) return 0;
    const u32 factory = process.machine.Read<u32>(place);
    WriteGuid(process.machine, place + 24, iid);
    result = CallMethod(process, factory, kCreateInstance, {outer, place + 24, place});
    Release(process, factory);
    return result == kOk ? process.machine.Read<u32>(place) : 0;
}

void RegisterClass(Process& process, const Guid& clsid, const std::string& name, Creator creator,
                   Listed listed) {
    process.Attachment<Classes>("classes")[clsid] = {name, std::move(creator), listed};
}

void BindCom(Process& p) {
    p.Bind(kOle, "CoInitializeEx", [&p](u32, u32 mode) -> u32 {
        if (mode != 0)
            return kModeChanged;  // the only apartment there is on the system is the free-threaded one
        return p.Attachment<Apartments>("apartments").entered[p.scheduler.Current().id]++ ? kFalse : kOk;
    });
    p.Bind(kOle, "CoUninitialize", [&p] {
        if (--p.Attachment<Apartments>("apartments").entered[p.scheduler.Current().id] < 0) {
            throw Failure("CoUninitialize without CoInitializeEx\n" + p.machine.Backtrace());
        }
    });
    p.Bind(kOle, "CoCreateInstance", [&p](u32 clsid, u32 outer, u32, u32 iid, u32 out) -> u32 {
        // Threads that have not entered are in the apartment of those that have.
        const auto& entered = p.Attachment<Apartments>("apartments").entered;
        if (std::any_of(entered.begin(), entered.end(), [](const auto& one) { return one.second > 0; }))
            return Create(p, clsid, outer, iid, out);
        return p.machine.Write(out, 0u), kNotInitialized;
    });
    // DLLs that COM has loaded stay to the end of the process.
    p.Bind(kOle, "CoFreeUnusedLibraries", [] {});
    p.Bind(kOle, "CoTaskMemAlloc", [&p](u32 size) { return p.heap.Allocate(size); });
    p.Bind(kOle, "CoTaskMemFree", [&p](u32 block) { p.heap.Free(block); });
    p.Bind(kOle, "StringFromGUID2", [&p](u32 guid, u32 out, u32 room) -> u32 {
        const std::string text = FormatGuid(ReadGuid(p.machine, guid));
        if (room < text.size() + 1) return 0;
        for (size_t i = 0; i <= text.size(); ++i)
            p.machine.Write(out + 2 * static_cast<u32>(i), static_cast<u16>(text.c_str()[i]));
        return static_cast<u32>(text.size() + 1);
    });
    BindBstrs(p);
    BindVariants(p);
}

}  // namespace ce
