// Window classes and windows.
#include <cstring>

#include "emulator/com_object.h"
#include "emulator/drawing.h"
#include "emulator/text.h"
#include "emulator/windows.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kErrorNoSuchClass = 1411, kErrorClassExists = 1410, kErrorInvalidWindow = 1400;
constexpr u32 kUseDefault = 0x80000000;
constexpr i32 kScreenWidth = 240, kScreenHeight = 320;
constexpr i32 kLongProcedure = -4;

std::u16string ClassName(Process& p, u32 nameOrAtom) {
    const auto& atoms = p.Attachment<Windows>("windows").atoms;
    if (nameOrAtom >= 0x10000) return LowerCase(p.machine.Text(nameOrAtom));
    const u32 place = nameOrAtom - kFirstAtom;
    return place < atoms.size() ? atoms[place] : u"";
}

struct Creation {
    u32 extended, className, title, style;
    i32 left, top, width, height;
    u32 parent, menu, instance, parameter;
};

u32 Create(Process& p, Creation c) {
    auto& windows = p.Attachment<Windows>("windows");
    const std::u16string className = ClassName(p, c.className);
    const auto found = windows.classes.find(className);
    if (found == windows.classes.end()) return p.SetLastError(kErrorNoSuchClass), 0;
    const auto orElse = [](i32 value, i32 whole) {
        return value == static_cast<i32>(kUseDefault) ? whole : value;
    };
    const u32 handle = std::exchange(windows.nextWindow, windows.nextWindow + 0x10);
    Window& window = windows.windows[handle];
    window.thread = p.scheduler.Current().id;
    window.procedure = found->second;
    window.parent = c.parent;
    window.className = className;
    if (c.title) window.title = p.machine.Text(c.title);
    window.left = orElse(c.left, 0);
    window.top = orElse(c.top, 0);
    window.width = orElse(c.width, kScreenWidth);
    window.height = orElse(c.height, kScreenHeight);
    const u32 words[] = {c.parameter,
                         c.instance,
                         c.menu,
                         c.parent,
                         static_cast<u32>(window.height),
                         static_cast<u32>(window.width),
                         static_cast<u32>(window.top),
                         static_cast<u32>(window.left),
                         c.style,
                         c.title,
                         c.className,
                         c.extended};
    const u32 record = HostMemory(p, sizeof words);
    std::memcpy(p.machine.Bytes(record, sizeof words), words, sizeof words);
    const u32 size = static_cast<u32>(window.height) << 16 | static_cast<u32>(window.width);
    if (static_cast<i32>(CallWindow(p, handle, message::kCreate, 0, record)) == -1) {
        windows.windows.erase(handle);
        return 0;
    }
    CallWindow(p, handle, message::kSize, 0, size);
    return handle;
}

u32 Destroy(Process& p, u32 handle) {
    auto& windows = p.Attachment<Windows>("windows");
    if (!windows.Find(handle)) return p.SetLastError(kErrorInvalidWindow), 0;
    CallWindow(p, handle, message::kDestroy, 0, 0);
    std::vector<u32> children;
    for (const auto& [child, window] : windows.windows) {
        if (window.parent == handle) children.push_back(child);
    }
    for (const u32 child : children) Destroy(p, child);
    std::erase_if(windows.timers, [&](const Timer& timer) { return timer.window == handle; });
    for (auto& [thread, input] : windows.inputs)
        std::erase_if(input->posted, [&](const PostedMessage& message) { return message.window == handle; });
    windows.windows.erase(handle);
    return 1;
}

void WriteRectangle(Process& p, u32 at, i32 left, i32 top, i32 right, i32 bottom) {
    for (const i32 side : {left, top, right, bottom}) p.machine.Write(std::exchange(at, at + 4), side);
}

void BindLife(Process& p) {
    auto& windows = p.Attachment<Windows>("windows");
    // The system's own controls do nothing here.
    for (const char16_t* name : {u"static", u"button", u"edit", u"listbox", u"combobox"})
        windows.classes[name] = 0;
    p.Bind(kLibrary, "RegisterClassW", [&p, &windows](u32 record) -> u32 {
        const std::u16string name = LowerCase(p.machine.Text(p.machine.Read<u32>(record + 36)));
        if (windows.classes.contains(name)) return p.SetLastError(kErrorClassExists), 0;
        windows.classes[name] = p.machine.Read<u32>(record + 4);
        windows.atoms.push_back(name);
        return kFirstAtom + static_cast<u32>(windows.atoms.size() - 1);
    });
    p.Bind(kLibrary, "UnregisterClassW",
           [&p, &windows](u32 name, u32) -> u32 { return windows.classes.erase(ClassName(p, name)) != 0; });
    p.Bind(kLibrary, "CreateWindowExW",
           [&p](u32 extended, u32 className, u32 title, u32 style, i32 left, i32 top, i32 width, i32 height,
                u32 parent, u32 menu, u32 instance, u32 parameter) {
               return Create(p, {extended, className, title, style, left, top, width, height, parent, menu,
                                 instance, parameter});
           });
    p.Bind(kLibrary, "DestroyWindow", [&p](u32 window) { return Destroy(p, window); });
    p.Bind(kLibrary, "DefWindowProcW", [&p](u32 window, u32 message, u32 first, u32 second) {
        return DefaultProcedure(p, window, message, first, second);
    });
    p.Bind(kLibrary, "IsWindow", [&windows](u32 window) -> u32 { return windows.Find(window) != nullptr; });
    p.Bind(kLibrary, "FindWindowW", [&p, &windows](u32 className, u32 title) -> u32 {
        for (const auto& [handle, window] : windows.windows) {
            if ((!className || window.className == ClassName(p, className)) &&
                (!title || window.title == p.machine.Text(title)))
                return handle;
        }
        return 0;
    });
    p.Bind(kLibrary, "GetParent", [&windows](u32 window) {
        const Window* found = windows.Find(window);
        return found ? found->parent : 0;
    });
    p.Bind(kLibrary, "GetWindowThreadProcessId", [&p, &windows](u32 window, u32 processAt) {
        const Window* found = windows.Find(window);
        if (processAt) p.machine.Write(processAt, found ? kProcessId : 0);
        return found ? found->thread : 0;
    });
}

void BindLooks(Process& p) {
    auto& windows = p.Attachment<Windows>("windows");
    const auto soil = [&windows](u32 window) -> u32 {
        Window* found = windows.Find(window);
        if (found) found->dirty = true;
        return found != nullptr;
    };
    p.Bind(kLibrary, "ShowWindow", [soil](u32 window, u32) { return soil(window), 0u; });
    p.Bind(kLibrary, "InvalidateRect", [soil](u32 window, u32, u32) { return soil(window); });
    p.Bind(kLibrary, "UpdateWindow", [&p, &windows](u32 window) -> u32 {
        ++windows.updates;
        const Window* found = windows.Find(window);
        if (found && found->dirty) Send(p, window, message::kPaint, 0, 0);
        return 1;
    });
    p.Bind(kLibrary, "BeginPaint", [&p, &windows](u32 window, u32 record) -> u32 {
        Window* found = windows.Find(window);
        if (!found) return 0;
        found->dirty = false;
        const u32 context = p.AddHandle(std::make_shared<DeviceContext>("EndPaint"));
        std::memset(p.machine.Bytes(record, 64), 0, 64);
        p.machine.Write(record, context);
        WriteRectangle(p, record + 8, 0, 0, found->width, found->height);
        return context;
    });
    p.Bind(kLibrary, "EndPaint",
           [&p](u32, u32 record) -> u32 { return p.CloseHandle(p.machine.Read<u32>(record), "EndPaint"); });
    p.Bind(kLibrary, "GetClientRect", [&p, &windows](u32 window, u32 rectangle) -> u32 {
        const Window* found = windows.Find(window);
        if (IsGone(p, window)) return p.SetLastError(kErrorInvalidWindow), 0;
        WriteRectangle(p, rectangle, 0, 0, found ? found->width : static_cast<i32>(windows.clientWidth),
                       found ? found->height : static_cast<i32>(windows.clientHeight));
        return 1;
    });
    p.Bind(kLibrary, "GetWindowRect", [&p, &windows](u32 window, u32 rectangle) -> u32 {
        const Window* found = windows.Find(window);
        if (!found) return p.SetLastError(kErrorInvalidWindow), 0;
        WriteRectangle(p, rectangle, found->left, found->top, found->left + found->width,
                       found->top + found->height);
        return 1;
    });
    // Windows have no frames here.
    p.Bind(kLibrary, "AdjustWindowRectEx", [](u32, u32, u32, u32) -> u32 { return 1; });
    p.Bind(kLibrary, "SetWindowTextW", [&p, &windows](u32 window, u32 text) -> u32 {
        Window* found = windows.Find(window);
        if (found) found->title = p.machine.Text(text);
        return found != nullptr;
    });
    p.Bind(kLibrary, "GetWindowTextW", [&p, &windows](u32 window, u32 buffer, u32 room) -> u32 {
        const Window* found = windows.Find(window);
        if (!found || !room) return 0;
        const std::u16string text = found->title.substr(0, room - 1);
        return WriteText(p.machine, buffer, text), static_cast<u32>(text.size());
    });
    p.Bind(kLibrary, "SetWindowLongW", [&windows](u32 window, i32 index, u32 value) -> u32 {
        Window* found = windows.Find(window);
        if (!found) return 0;
        return std::exchange(index == kLongProcedure ? found->procedure : found->longs[index], value);
    });
    p.Bind(kLibrary, "GetWindowLongW", [&windows](u32 window, i32 index) -> u32 {
        Window* found = windows.Find(window);
        if (!found) return 0;
        return index == kLongProcedure ? found->procedure : found->longs[index];
    });
    p.Bind(kLibrary, "GetForegroundWindow", [] { return u32{0}; });
    p.Bind(kLibrary, "SetForegroundWindow", [](u32) -> u32 { return 1; });
    p.Bind(kLibrary, "SetFocus", [](u32) -> u32 { return 0; });
    p.Bind(kLibrary, "LoadCursorW", [](u32, u32) -> u32 { return 0; });
    p.Bind(kLibrary, "LoadIconW", [](u32, u32) -> u32 { return 0; });
    p.Bind(kLibrary, "GetSystemMetrics", [](u32 index) {
        return index == 0 ? kScreenWidth : index == 1 ? kScreenHeight : 0;
    });
    p.Bind(kLibrary, "MessageBoxW", [&p, &windows](u32, u32 text, u32 caption, u32) -> u32 {
        windows.boxes.push_back({p.machine.Text(text), caption ? p.machine.Text(caption) : u""});
        if (const auto onBox = windows.onBox) onBox();
        return 1;
    });
}

}  // namespace

bool IsGone(Process& process, u32 window) {
    auto& windows = process.Attachment<Windows>("windows");
    return window >= kFirstWindow && window < windows.nextWindow && !windows.Find(window);
}

u32 DefaultProcedure(Process& p, u32 window, u32 message, u32, u32) {
    if (message == message::kClose) Destroy(p, window);
    Window* found = p.Attachment<Windows>("windows").Find(window);
    if (message == message::kPaint && found) found->dirty = false;
    return 0;
}

void BindWindows(Process& process) {
    BindLife(process);
    BindLooks(process);
}

}  // namespace ce
