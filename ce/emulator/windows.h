// Windows and their messages. A window that the program did not create is a plain number, as tests give them
// out: what is posted to it is recorded.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "emulator/kernel_objects.h"
#include "emulator/process.h"

namespace ce {

struct PostedMessage {
    u32 window, message, first, second;
};

// A message that its sender, another thread, waits for.
struct SentMessage {
    PostedMessage message;
    std::shared_ptr<Event> answered = std::make_shared<Event>();
    u32 result = 0;
};

// What wakes a thread that waits for messages: bits of MsgWaitForMultipleObjectsEx.
constexpr u32 kWakePosted = 0x08, kWakeTimer = 0x10, kWakePaint = 0x20, kWakeSent = 0x40, kWakeAny = 0xFF;

// A thread's messages.
struct Input final : Object {
    std::string Describe() const override { return "messages, which nobody is left to send"; }
    bool Signaled(Thread&) override { return !posted.empty() || !sent.empty() || quit; }
    std::deque<PostedMessage> posted;
    std::deque<std::shared_ptr<SentMessage>> sent;
    u32 answering = 0;  // sent messages whose procedures are under way
    bool quit = false;
    u32 exitCode = 0;
};

struct Window {
    u32 thread = 0;  // its id
    u32 procedure = 0;
    u32 parent = 0;
    std::u16string className, title;
    i32 left = 0, top = 0, width = 0, height = 0;
    bool dirty = false;
    std::map<i32, u32> longs;  // by their index
};

struct Timer {
    u32 window, id, interval, procedure, thread;
    u64 due;
};

constexpr u32 kFirstWindow = 0x00D00010;

struct Windows {
    std::vector<PostedMessage> posted;
    std::vector<std::pair<std::u16string, std::u16string>> boxes;  // text, caption
    std::function<void()> onBox;                                   // while one waits for its button
    u32 updates = 0;
    u32 clientWidth = 320, clientHeight = 240;  // of windows that the program did not create

    std::map<std::u16string, u32> classes;  // window procedures; names are in lower case
    std::vector<std::u16string> atoms;      // of classes; an atom is the place from kFirstAtom on
    std::map<u32, Window> windows;
    std::map<u32, std::shared_ptr<Input>> inputs;  // by thread
    std::vector<Timer> timers;
    u32 nextWindow = kFirstWindow;

    Window* Find(u32 window);
    Input& Of(u32 thread);
};
constexpr u32 kFirstAtom = 0xC000;
// Whether the window has been destroyed.
bool IsGone(Process& process, u32 window);

// Runs the window procedure on the calling thread.
u32 CallWindow(Process& process, u32 window, u32 message, u32 first, u32 second);
// The same on the window's own thread, for which the calling one waits.
u32 Send(Process& process, u32 window, u32 message, u32 first, u32 second);
// The system's own treatment of a message.
u32 DefaultProcedure(Process& process, u32 window, u32 message, u32 first, u32 second);
// Runs the procedures for what other threads sent to this one.
void AnswerSent(Process& process);

namespace message {
constexpr u32 kCreate = 0x01, kDestroy = 0x02, kSize = 0x05, kPaint = 0x0F, kClose = 0x10, kQuit = 0x12,
              kTimer = 0x113;
}

}  // namespace ce
