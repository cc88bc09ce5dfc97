// An emulated process: its modules, its handles, and the stand-ins for what the system does.
#pragma once

#include <bit>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "emulator/heap.h"
#include "emulator/machine.h"
#include "emulator/pe_image.h"
#include "emulator/scheduler.h"

namespace ce {

// Win32 errors that the stand-ins report.
constexpr u32 kErrorFileNotFound = 2, kErrorInvalidHandle = 6, kErrorNoMoreFiles = 18,
              kErrorInvalidParameter = 87, kErrorInsufficientBuffer = 122, kErrorInvalidName = 123,
              kErrorProcNotFound = 127, kErrorAlreadyExists = 183, kErrorTimeout = 1460,
              kErrorModuleNotFound = 126, kErrorNotEnoughMemory = 8, kErrorMoreData = 234;

struct Module {
    PeImage image;
    std::string name;  // file name in lower case
    u32 base = 0;
    u32 uses = 0;  // what LoadLibraryW brought in leaves with the last FreeLibrary; 0: stays
    bool toldOfThreads = true;
};

// An argument of a stand-in, taken from the call in its order.
template <typename T>
T TakeArgument(Arguments& arguments) {
    if constexpr (sizeof(T) == 8) {
        return std::bit_cast<T>(arguments.Long());
    } else {
        return static_cast<T>(arguments.Word());
    }
}

// A function of plain numbers as a handler; results of 64 bits come back in r0 and r1, and smaller ones leave
// r1 unset.
template <typename R, typename... A>
Handler MakeHandler(std::function<R(A...)> function) {
    return [function = std::move(function)](Arguments& arguments) -> u64 {
        constexpr u64 kNoHigh = static_cast<u64>(kUnset + 1) << 32;
        const std::tuple<A...> taken{TakeArgument<A>(arguments)...};
        if constexpr (std::is_void_v<R>) {
            std::apply(function, taken);
            return kNoHigh | kUnset;
        } else if constexpr (sizeof(R) == 8) {
            return std::bit_cast<u64>(std::apply(function, taken));
        } else {
            return kNoHigh | static_cast<u32>(std::apply(function, taken));
        }
    };
}

struct NotStarted : Failure {
    using Failure::Failure;
};

class Process {
  public:
    // The stand-ins of coredll, ole32 and oleaut32 are bound; files live below `folder`.
    explicit Process(std::string folder = ".", u32 stackBytes = kStackBytes);
    ~Process();

    Machine machine;
    Scheduler scheduler;
    Heap heap;

    // ---- Modules
    // ----------------------------------------------------------------------------------------------- Maps
    // the image at another base than its own, binds it and runs a DLL's entry point. A DLL that it imports is
    // loaded too if it is found in the folders for libraries; what nobody provides is reported when it is
    // called. Throws NotStarted when the entry point refuses, and the DLL is gone.
    Module& Load(const std::string& path);
    void Unload(Module& module);
    // Where DLLs that are asked for by name are looked for, the first folder first. Empty: only what has been
    // loaded is found.
    std::vector<std::string> libraryFolders;
    // The loaded DLL, or one from those folders; null when there is none.
    Module* FindOrLoad(const std::string& name);
    // A function of a DLL that the host plays: found by name whenever the program loads that DLL.
    void Offer(const std::string& library, const std::string& name, Handler handler);
    // Runs a loaded program to the end of its process; the exit code.
    u32 RunProgram(const Module& program, std::u16string_view commandLine);
    // The last that DLLs hear of the process, those loaded last first.
    void TellProcessEnds();
    u32 Address(const Module& module, const std::string& name);
    Module* Find(const std::string& name);  // loaded, or played
    const std::vector<std::unique_ptr<Module>>& Modules() const { return modules; }

    // Calls an export with 32-bit words.
    u32 Call(const Module& module, const std::string& name, const std::vector<u32>& words = {}) {
        return static_cast<u32>(machine.Call(Address(module, name), words));
    }
    u64 CallLong(const Module& module, const std::string& name, const std::vector<u32>& words = {}) {
        return machine.Call(Address(module, name), words);
    }

    // ---- Stand-ins
    // ---------------------------------------------------------------------------------------------
    template <typename F>
    void Bind(const std::string& library, const std::string& name, F function) {
        bound[library + "!" + name] = MakeHandler(std::function(std::move(function)));
    }

    bool IsBound(const std::string& library, const std::string& name) const {
        return bound.contains(library + "!" + name);
    }
    // Where a program calls it.
    u32 StubFor(const std::string& library, const std::string& name);
    // Given each import of a module that a stand-in serves, when the module is first loaded: what is called
    // for it.
    std::function<Handler(const Module&, const std::string& function, Handler)> wrapImport;

    // For variable arguments: the stand-in takes them itself.
    void BindRaw(const std::string& library, const std::string& name, Handler handler) {
        bound[library + "!" + name] = std::move(handler);
    }

    // ---- Handles
    // -----------------------------------------------------------------------------------------------
    u32 AddHandle(ObjectPtr object);
    ObjectPtr FromHandle(u32 handle);
    template <typename T>
    std::shared_ptr<T> FromHandle(u32 handle) {
        return std::dynamic_pointer_cast<T>(FromHandle(handle));
    }
    // False for what is no handle; Failure when another function has to close it.
    bool CloseHandle(u32 handle, const char* closer = "CloseHandle");
    size_t Handles() const { return handles.size(); }
    const std::map<u32, ObjectPtr>& AllHandles() const { return handles; }
    std::string DescribeHandles() const;

    void SetLastError(u32 error) { scheduler.Current().lastError = error; }

    // ---- Helpers for tests
    // -------------------------------------------------------------------------------------
    u32 NewText(std::u16string_view text);
    u32 NewBlock(u32 size) { return heap.AllocateSurely(size); }

    std::map<std::u16string, std::weak_ptr<Object>> namedObjects;  // they end with their last handle
    std::string folder;
    std::vector<std::u16string> debugText;
    // Told of what the program writes to the debugger and to its standard streams; wide text comes as UTF-8.
    enum class Output { Debugger, Standard, Error };
    std::function<void(Output to, std::string_view text)> onOutput;
    void WriteOutput(Output to, std::string_view text) {
        if (onOutput) onOutput(to, text);
    }
    // What other stand-ins keep with the process, by their own names.
    std::map<std::string, std::shared_ptr<void>> attachments;
    template <typename T>
    T& Attachment(const std::string& name) {
        auto& slot = attachments[name];
        if (!slot) slot = std::make_shared<T>();
        return *static_cast<T*>(slot.get());
    }

  private:
    void BindImports(Module& module);
    void Map(Module& module, u32 size);
    void Vacate(const Module& module);
    Handler HandlerFor(const std::string& key);

    std::vector<std::unique_ptr<Module>> modules;
    std::map<std::string, Handler> bound;
    std::map<std::string, u32> stubs;  // of a module's own, if they are wrapped
    std::map<u32, ObjectPtr> handles;
    u32 nextHandle = 0x00010004;
    u32 nextBase = 0x30010000;
    std::map<std::pair<std::string, u32>, u32> vacated;  // path and size to the base of a DLL that has gone
    u32 nextPlayed = 0x70000000;                         // of DLLs that the host plays
};

// Each file of stand-ins binds its own.
void BindKernel(Process& process);
void BindQueues(Process& process);
void BindModules(Process& process);
void BindMemory(Process& process);
void BindStreams(Process& process);
void BindFormats(Process& process);
void BindArithmetic(Process& process);
void BindText(Process& process);
void BindFiles(Process& process);
void BindDevices(Process& process);
void BindRegistry(Process& process);
void BindCom(Process& process);
void BindMessages(Process& process);
void BindWindows(Process& process);
void BindDrawing(Process& process);

}  // namespace ce
