// What the parts of the run-time support know of each other.
#pragma once

namespace ce {

// The exception machinery's state of each thread hangs on one thread-local slot.
void AllocateThreadState();  // the slot itself, at process attach
void FreeThreadState();      // the calling thread's state
void ReleaseThreadState();   // the slot, at process detach

void RunConstructors();
void RunDestructors();  // those of local statics first, the latest one first

// Of a program: as the system handed them to its entry point.
struct ProgramStart {
    void* instance;
    void* previous;
    wchar_t* commandLine;  // the arguments, without the program's name
    int show;
};
extern ProgramStart programStart;

constexpr int kMaxCommandLine = 2048;  // characters with their end; what is beyond is cut off
constexpr int kMaxArguments = 128;

}  // namespace ce
