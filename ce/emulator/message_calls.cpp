// Posting, sending and waiting for messages; timers.
#include <algorithm>

#include "emulator/windows.h"

namespace ce {

Window* Windows::Find(u32 window) {
    const auto found = windows.find(window);
    return found == windows.end() ? nullptr : &found->second;
}

Input& Windows::Of(u32 thread) {
    auto& input = inputs[thread];
    if (!input) input = std::make_shared<Input>();
    return *input;
}

u32 CallWindow(Process& p, u32 window, u32 message, u32 first, u32 second) {
    const Window* found = p.Attachment<Windows>("windows").Find(window);
    if (!found) return 0;
    if (!found->procedure) return DefaultProcedure(p, window, message, first, second);
    return static_cast<u32>(p.machine.Call(found->procedure, {window, message, first, second}));
}

void AnswerSent(Process& p) {
    Input& input = p.Attachment<Windows>("windows").Of(p.scheduler.Current().id);
    while (!input.sent.empty()) {
        const auto sent = input.sent.front();
        input.sent.pop_front();
        const auto& [window, message, first, second] = sent->message;
        ++input.answering;
        sent->result = CallWindow(p, window, message, first, second);
        --input.answering;
        sent->answered->signaled = true;
    }
}

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kRemove = 1;

// What of a thread's messages wakes it from a wait with handles.
struct InputWait final : Object {
    InputWait(Input& waited, u32 wakeMask) : input(waited), mask(wakeMask) {}
    std::string Describe() const override { return input.Describe(); }
    bool Signaled(Thread&) override {
        return (mask & kWakeSent && !input.sent.empty()) ||
               (mask & kWakePosted && (!input.posted.empty() || input.quit));
    }
    Input& input;
    u32 mask;
};

}  // namespace

u32 Send(Process& p, u32 window, u32 message, u32 first, u32 second) {
    auto& windows = p.Attachment<Windows>("windows");
    const Window* found = windows.Find(window);
    if (!found) return 0;
    const u32 own = p.scheduler.Current().id;
    if (found->thread == own) return CallWindow(p, window, message, first, second);
    const auto sent = std::make_shared<SentMessage>();
    sent->message = {window, message, first, second};
    sent->answered->manual = true;
    windows.Of(found->thread).sent.push_back(sent);
    const auto incoming = std::make_shared<InputWait>(windows.Of(own), kWakeSent);
    while (!sent->answered->signaled) {
        p.scheduler.Wait({sent->answered, incoming}, false, kInfinite);
        AnswerSent(p);
    }
    return sent->result;
}

namespace {

u32 Post(Process& p, u32 thread, const PostedMessage& message) {
    p.Attachment<Windows>("windows").Of(thread).posted.push_back(message);
    return 1;
}

// The next message of the calling thread's, in the system's order: posted ones, the end, timers, painting.
std::optional<PostedMessage> Next(Process& p, u32 window, u32 lowest, u32 highest, bool remove) {
    auto& windows = p.Attachment<Windows>("windows");
    const u32 thread = p.scheduler.Current().id;
    Input& input = windows.Of(thread);
    const auto wanted = [&](const PostedMessage& message) {
        return (!window || message.window == window) &&
               (!highest || (message.message >= lowest && message.message <= highest));
    };
    const auto found = std::find_if(input.posted.begin(), input.posted.end(), wanted);
    if (found != input.posted.end()) {
        const PostedMessage message = *found;
        if (remove) input.posted.erase(found);
        return message;
    }
    if (input.quit) {
        if (remove) input.quit = false;
        return PostedMessage{0, message::kQuit, input.exitCode, 0};
    }
    for (Timer& timer : windows.timers) {
        const PostedMessage message{timer.window, message::kTimer, timer.id, timer.procedure};
        if (timer.thread != thread || timer.due > p.scheduler.Now() || !wanted(message)) continue;
        if (remove) timer.due = p.scheduler.Now() + timer.interval;
        return message;
    }
    for (auto& [handle, one] : windows.windows) {
        const PostedMessage message{handle, message::kPaint, 0, 0};
        if (one.thread == thread && one.dirty && wanted(message)) return message;
    }
    return std::nullopt;
}

void WriteMessage(Process& p, u32 at, const PostedMessage& message) {
    const u32 words[] = {message.window,
                         message.message,
                         message.first,
                         message.second,
                         static_cast<u32>(p.scheduler.Now()),
                         0,
                         0};
    for (const u32 word : words) p.machine.Write(std::exchange(at, at + 4), word);
}

// Milliseconds to the thread's next timer.
u32 UntilTimer(Process& p) {
    u32 wait = kInfinite;
    for (const Timer& timer : p.Attachment<Windows>("windows").timers) {
        if (timer.thread != p.scheduler.Current().id) continue;
        wait = std::min(wait, static_cast<u32>(timer.due - std::min(timer.due, p.scheduler.Now())));
    }
    return wait;
}

void BindSending(Process& p) {
    auto& windows = p.Attachment<Windows>("windows");
    p.Bind(kLibrary, "PostMessageW", [&p, &windows](u32 window, u32 message, u32 first, u32 second) -> u32 {
        windows.posted.push_back({window, message, first, second});
        if (window == 0) return Post(p, p.scheduler.Current().id, windows.posted.back());
        const Window* found = windows.Find(window);
        return found ? Post(p, found->thread, windows.posted.back()) : 1;
    });
    p.Bind(kLibrary, "PostThreadMessageW", [&p](u32 thread, u32 message, u32 first, u32 second) -> u32 {
        return Post(p, thread, {0, message, first, second});
    });
    p.Bind(kLibrary, "SendMessageW", [&p](u32 window, u32 message, u32 first, u32 second) {
        return Send(p, window, message, first, second);
    });
    p.Bind(kLibrary, "InSendMessage",
           [&p, &windows]() -> u32 { return windows.Of(p.scheduler.Current().id).answering > 0; });
    p.Bind(kLibrary, "PostQuitMessage", [&p, &windows](u32 code) {
        Input& input = windows.Of(p.scheduler.Current().id);
        input.quit = true;
        input.exitCode = code;
    });
}

void BindReceiving(Process& p) {
    auto& windows = p.Attachment<Windows>("windows");
    p.Bind(kLibrary, "GetMessageW", [&p, &windows](u32 at, u32 window, u32 lowest, u32 highest) -> u32 {
        for (;;) {
            AnswerSent(p);
            if (const auto message = Next(p, window, lowest, highest, true)) {
                WriteMessage(p, at, *message);
                return message->message != message::kQuit;
            }
            windows.Of(p.scheduler.Current().id);
            p.scheduler.Wait({windows.inputs[p.scheduler.Current().id]}, false, UntilTimer(p));
        }
    });
    p.Bind(kLibrary, "PeekMessageW", [&p](u32 at, u32 window, u32 lowest, u32 highest, u32 flags) -> u32 {
        AnswerSent(p);
        const auto message = Next(p, window, lowest, highest, flags & kRemove);
        if (message) WriteMessage(p, at, *message);
        return message.has_value();
    });
    p.Bind(kLibrary, "TranslateMessage", [](u32) -> u32 { return 0; });
    p.Bind(kLibrary, "DispatchMessageW", [&p](u32 at) -> u32 {
        const auto word = [&](u32 index) { return p.machine.Read<u32>(at + 4 * index); };
        if (word(1) == message::kTimer && word(3))
            return static_cast<u32>(p.machine.Call(word(3), {word(0), word(1), word(2), word(4)}));
        return CallWindow(p, word(0), word(1), word(2), word(3));
    });
    p.Bind(kLibrary, "MsgWaitForMultipleObjectsEx",
           [&p, &windows](u32 count, u32 array, u32 milliseconds, u32 mask, u32) {
               std::vector<ObjectPtr> objects;
               for (const u32 handle : ReadHandles(p, count, array)) {
                   objects.push_back(p.FromHandle(handle));
                   if (!objects.back()) return p.SetLastError(kErrorInvalidHandle), kWaitFailed;
               }
               Input& input = windows.Of(p.scheduler.Current().id);
               objects.push_back(std::make_shared<InputWait>(input, mask));
               return p.scheduler.Wait(std::move(objects), false, milliseconds);
           });
    p.Bind(kLibrary, "SetTimer", [&p, &windows](u32 window, u32 id, u32 interval, u32 procedure) -> u32 {
        if (!window) id = static_cast<u32>(windows.timers.size() + 1);
        std::erase_if(windows.timers, [&](const Timer& one) { return one.window == window && one.id == id; });
        windows.timers.push_back(
            {window, id, interval, procedure, p.scheduler.Current().id, p.scheduler.Now() + interval});
        return id ? id : 1;
    });
    p.Bind(kLibrary, "KillTimer", [&windows](u32 window, u32 id) -> u32 {
        return std::erase_if(windows.timers,
                             [&](const Timer& one) { return one.window == window && one.id == id; }) > 0;
    });
}

}  // namespace

void BindMessages(Process& process) {
    BindSending(process);
    BindReceiving(process);
}

}  // namespace ce
