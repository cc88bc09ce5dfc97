#include "emulator/process.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "emulator/com_object.h"

namespace ce {

namespace {

constexpr u32 kProcessAttach = 1, kProcessDetach = 0, kThreadDetach = 3;
constexpr u32 kPage = 0x1000;
constexpr u16 kMachineArm = 0x01C0;

std::string FileName(const std::string& path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    return name;
}

u32 MappedSize(const PeImage& image) {
    return (image.size + kPage - 1) / kPage * kPage;
}

std::string Key(const std::string& library, const std::string& name) {
    return FileName(library) + "!" + name;
}

}  // namespace

Process::Process(std::string root, u32 stackBytes)
    : scheduler(machine, stackBytes), heap(machine), folder(std::move(root)) {
    BindKernel(*this);
    BindQueues(*this);
    BindModules(*this);
    BindMemory(*this);
    BindStreams(*this);
    BindFormats(*this);
    BindArithmetic(*this);
    BindText(*this);
    BindFiles(*this);
    BindDevices(*this);
    BindRegistry(*this);
    BindCom(*this);
    BindMessages(*this);
    BindWindows(*this);
    BindDrawing(*this);
    scheduler.onThreadEnd = [this](Thread&) {
        for (const auto& module : modules) {
            if (module->image.isProgram || !module->toldOfThreads) continue;
            machine.Call(module->base + module->image.entry, {module->base, kThreadDetach, 0});
        }
    };
}

Process::~Process() = default;

Module& Process::Load(const std::string& path) {
    auto module = std::make_unique<Module>();
    module->image = PeImage::Read(path);
    if (module->image.machine != kMachineArm) throw Failure(path + ": no image for ARM");
    for (const ImportSlot& slot : module->image.imports) FindOrLoad(slot.library);
    module->name = FileName(path);
    const u32 size = MappedSize(module->image);
    Map(*module, size);
    module->image.Relocate(module->base);
    std::memcpy(machine.Bytes(module->base, size), module->image.memory.data(), module->image.memory.size());
    machine.places.Add({module->name, module->base, size}, path.substr(0, path.find_last_of('.')) + ".sym",
                       module->image.exports);
    BindImports(*module);
    // What the sections say; the processor does not tell code from data.
    machine.Protect(module->base, size, UC_PROT_READ | UC_PROT_EXEC);
    for (const PeSection& section : module->image.sections) {
        const u32 first = section.rva / kPage * kPage;
        const u32 bytes = std::min((section.rva + section.size + kPage - 1) / kPage * kPage, size) - first;
        if (section.isWritable) machine.Protect(module->base + first, bytes, UC_PROT_ALL);
    }
    modules.push_back(std::move(module));
    Module& loaded = *modules.back();
    if (loaded.image.isProgram) return loaded;
    if (!machine.Call(loaded.base + loaded.image.entry, {loaded.base, kProcessAttach, 0})) {
        Vacate(loaded);
        modules.pop_back();
        throw NotStarted(path + ": the entry point refused to start");
    }
    return loaded;
}

// A DLL that comes again lies where it lay before: the processor has room for so many mappings only. A gap
// after each image, so that running past its end is seen.
void Process::Map(Module& module, u32 size) {
    if (const auto former = vacated.extract({module.image.path, size})) {
        module.base = former.mapped();
        machine.Protect(module.base, size, UC_PROT_ALL);
        return;
    }
    module.base = nextBase;
    nextBase += size + 0x10000;
    machine.Map(module.base, size);
}

// What is left of the program's pointers there must not be used.
void Process::Vacate(const Module& module) {
    const u32 size = MappedSize(module.image);
    machine.Protect(module.base, size, UC_PROT_NONE);
    vacated[{module.image.path, size}] = module.base;
}

void Process::Unload(Module& module) {
    machine.Call(module.base + module.image.entry, {module.base, kProcessDetach, 0});
    Vacate(module);
    std::erase_if(modules, [&](const auto& loaded) { return loaded.get() == &module; });
}

Module* Process::FindOrLoad(const std::string& name) {
    if (Module* loaded = Find(name)) return loaded;
    for (const std::string& place : libraryFolders) {
        for (const auto& entry : std::filesystem::directory_iterator(place)) {
            if (entry.is_regular_file() && FileName(entry.path().string()) == FileName(name)) {
                try {
                    return &Load(entry.path().string());
                } catch (const NotStarted&) {
                    return nullptr;
                }
            }
        }
    }
    return nullptr;
}

// A played DLL is a page with nothing in it: its functions are stubs, given relative to the page.
void Process::Offer(const std::string& library, const std::string& name, Handler handler) {
    Module* module = Find(library);
    if (!module) {
        modules.push_back(std::make_unique<Module>());
        module = modules.back().get();
        module->name = FileName(library);
        module->image.path = module->name;
        module->base = std::exchange(nextPlayed, nextPlayed + 2 * kPage);
        module->toldOfThreads = false;
        machine.Map(module->base, kPage, false);
        module->image.entry =
            machine.AddStub(module->name, [](Arguments&) -> u64 { return 1; }) - module->base;
    }
    module->image.exports[name] =
        machine.AddStub(module->name + "!" + name, std::move(handler)) - module->base;
}

u32 Process::RunProgram(const Module& program, std::u16string_view commandLine) {
    constexpr u32 kShowNormal = 1;
    const u32 text = HostMemory(*this, static_cast<u32>(2 * commandLine.size() + 2));
    std::memcpy(machine.Bytes(text, static_cast<u32>(2 * commandLine.size() + 2)), commandLine.data(),
                2 * commandLine.size());
    try {
        return static_cast<u32>(
            machine.Call(program.base + program.image.entry, {program.base, 0, text, kShowNormal}));
    } catch (const ProcessEnd& end) {
        return end.code;
    }
}

void Process::TellProcessEnds() {
    for (auto module = modules.rbegin(); module != modules.rend(); ++module) {
        if (!(*module)->image.isProgram)
            machine.Call((*module)->base + (*module)->image.entry, {(*module)->base, kProcessDetach, 1});
    }
}

void Process::BindImports(Module& module) {
    for (const ImportSlot& slot : module.image.imports) {
        u32 address = 0;
        if (Module* provider = Find(slot.library)) {
            const auto& image = provider->image;
            if (slot.name.empty()) {
                const auto found = image.exportsByOrdinal.find(slot.ordinal);
                if (found != image.exportsByOrdinal.end()) address = provider->base + found->second;
            } else {
                const auto found = image.exports.find(slot.name);
                if (found != image.exports.end()) address = provider->base + found->second;
            }
        }
        const std::string name = slot.name.empty() ? "@" + std::to_string(slot.ordinal) : slot.name;
        if (!address && wrapImport) {
            const std::string key = Key(slot.library, name);
            u32& stub = stubs[module.image.path + "!" + key];
            if (!stub) stub = machine.AddStub(key, wrapImport(module, name, HandlerFor(key)));
            address = stub;
        }
        machine.Write(module.base + slot.rva, address ? address : StubFor(slot.library, name));
    }
}

Handler Process::HandlerFor(const std::string& key) {
    if (const auto found = bound.find(key); found != bound.end()) return found->second;
    return [this, key](Arguments&) -> u64 {
        throw Failure("call to an unbound import: " + key + "\n" + machine.Backtrace());
    };
}

u32 Process::StubFor(const std::string& library, const std::string& name) {
    const std::string key = Key(library, name);
    if (const auto known = stubs.find(key); known != stubs.end()) return known->second;
    return stubs[key] = machine.AddStub(key, HandlerFor(key));
}

u32 Process::Address(const Module& module, const std::string& name) {
    const auto found = module.image.exports.find(name);
    if (found == module.image.exports.end()) throw Failure(module.name + " does not export " + name);
    return module.base + found->second;
}

Module* Process::Find(const std::string& name) {
    const std::string wanted = FileName(name);
    for (const auto& module : modules) {
        if (module->name == wanted) return module.get();
    }
    return nullptr;
}

// Values are never used twice: a handle that was closed stays wrong.
u32 Process::AddHandle(ObjectPtr object) {
    handles[nextHandle] = std::move(object);
    return std::exchange(nextHandle, nextHandle + 4);
}

ObjectPtr Process::FromHandle(u32 handle) {
    const auto found = handles.find(handle);
    return found == handles.end() ? nullptr : found->second;
}

bool Process::CloseHandle(u32 handle, const char* closer) {
    const ObjectPtr object = FromHandle(handle);
    if (!object) return SetLastError(kErrorInvalidHandle), false;
    if (std::strcmp(object->Closer(), closer) != 0) {
        throw Failure("a handle was closed with " + std::string(closer) + ", but it is that of " +
                      object->Describe() + ", which " + object->Closer() + " closes\n" + machine.Backtrace());
    }
    handles.erase(handle);
    return true;
}

std::string Process::DescribeHandles() const {
    std::string text;
    for (const auto& [handle, object] : handles) text += "  " + object->Describe() + "\n";
    return text;
}

u32 Process::NewText(std::u16string_view text) {
    const u32 address = heap.AllocateSurely(static_cast<u32>(2 * text.size() + 2));
    std::memcpy(machine.Bytes(address, static_cast<u32>(2 * text.size())), text.data(), 2 * text.size());
    return address;
}

}  // namespace ce
