// Loading DLLs and finding their functions.
#include <filesystem>

#include "emulator/devices.h"
#include "emulator/process.h"
#include "emulator/text.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

Module* ByBase(Process& p, u32 base) {
    for (const auto& module : p.Modules()) {
        if (module->base == base || (base == 0 && module->image.isProgram)) return module.get();
    }
    return nullptr;
}

// The file name, without the folders of the device's path and with the ending that is left out.
std::string LibraryName(std::u16string_view path) {
    std::string name = ToUtf8(path.substr(path.find_last_of(u'\\') + 1));
    if (name.find('.') == std::string::npos) name += ".dll";
    return name;
}

// The file that a path names, if there is one; any other is looked for by its name alone.
Module* LoadNamed(Process& p, const std::u16string& path) {
    const std::string name = LibraryName(path);
    const std::string file = HostPath(p, path);
    if (p.Find(name) || path.find(u'\\') == std::u16string::npos || !std::filesystem::is_regular_file(file))
        return p.FindOrLoad(name);
    try {
        return &p.Load(file);
    } catch (const NotStarted&) {
        return nullptr;
    }
}

u32 Load(Process& p, u32 nameAt) {
    const std::u16string path = p.machine.Text(nameAt);
    const bool isNew = !p.Find(LibraryName(path));
    Module* module = LoadNamed(p, path);
    if (!module) return p.SetLastError(kErrorModuleNotFound), 0;
    if (isNew || module->uses) ++module->uses;
    return module->base;
}

u32 Unload(Process& p, u32 base) {
    Module* module = ByBase(p, base);
    if (!module) return p.SetLastError(kErrorInvalidHandle), 0;
    if (module->uses && --module->uses == 0) p.Unload(*module);
    return 1;
}

// The system's own library is no module here: it stands for what is bound in its name.
constexpr u32 kSystemLibrary = 0x03F60000;

u32 Procedure(Process& p, u32 base, const std::string& name, u16 ordinal) {
    if (base == kSystemLibrary && p.IsBound(kLibrary, name)) return p.StubFor(kLibrary, name);
    if (const Module* module = ByBase(p, base)) {
        if (name.empty()) {
            const auto found = module->image.exportsByOrdinal.find(ordinal);
            if (found != module->image.exportsByOrdinal.end()) return base + found->second;
        } else {
            const auto found = module->image.exports.find(name);
            if (found != module->image.exports.end()) return base + found->second;
        }
    }
    p.SetLastError(kErrorProcNotFound);
    return 0;
}

}  // namespace

void BindModules(Process& p) {
    p.Bind(kLibrary, "LoadLibraryW", [&p](u32 name) { return Load(p, name); });
    p.Bind(kLibrary, "LoadLibraryExW", [&p](u32 name, u32, u32) { return Load(p, name); });
    p.Bind(kLibrary, "FreeLibrary", [&p](u32 base) { return Unload(p, base); });
    p.Bind(kLibrary, "FreeLibraryAndExitThread", [&p](u32 base, u32 code) -> u32 {
        Unload(p, base);
        p.scheduler.Exit(code);
    });
    p.Bind(kLibrary, "DisableThreadLibraryCalls", [&p](u32 base) -> u32 {
        Module* module = ByBase(p, base);
        if (module) module->toldOfThreads = false;
        return module != nullptr;
    });
    p.Bind(kLibrary, "GetModuleHandleW", [&p](u32 name) -> u32 {
        if (name && LibraryName(p.machine.Text(name)) == kLibrary) return kSystemLibrary;
        const Module* module = name ? p.Find(LibraryName(p.machine.Text(name))) : ByBase(p, 0);
        return module ? module->base : 0;
    });
    p.Bind(kLibrary, "GetProcAddressA", [&p](u32 base, u32 name) {
        const bool isOrdinal = name < 0x10000;
        return Procedure(p, base, isOrdinal ? "" : p.machine.Narrow(name), static_cast<u16>(name));
    });
    p.Bind(kLibrary, "GetProcAddressW", [&p](u32 base, u32 name) {
        const bool isOrdinal = name < 0x10000;
        return Procedure(p, base, isOrdinal ? "" : ToUtf8(p.machine.Text(name)), static_cast<u16>(name));
    });
    p.Bind(kLibrary, "GetModuleFileNameW", [&p](u32 base, u32 buffer, u32 length) -> u32 {
        const Module* module = ByBase(p, base);
        const std::u16string path = DevicePath(p, module ? module->image.path : "test.exe");
        if (path.size() + 1 > length) return 0;
        WriteText(p.machine, buffer, path);
        return static_cast<u32>(path.size());
    });
}

}  // namespace ce
