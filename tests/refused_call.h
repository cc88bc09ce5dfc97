// Calls of the system that no input makes fail: this program's own table of imports leads elsewhere
// meanwhile.
#pragma once

#include <windows.h>

#include <type_traits>

// The place in that table; `bytes` are those of the function's arguments on 32 bit.
#ifdef _WIN64
#define TEST_IMPORT(function, bytes) asm("__imp_" #function)
#else
#define TEST_IMPORT(function, bytes) asm("__imp__" #function "@" #bytes)
#endif

// While it lives calls go to `instead`.
template <typename Function>
class Redirected {
  public:
    Redirected(Function*& import, Function* instead) : place(import), really(import) { Set(instead); }
    ~Redirected() { Set(really); }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

  private:
    void Set(Function* function) {
        DWORD protection = 0;
        VirtualProtect(&place, sizeof place, PAGE_READWRITE, &protection);
        place = function;
    }

    Function*& place;
    Function* const really;
};

extern "C" decltype(&CreateEventW) importOfCreateEvent TEST_IMPORT(CreateEventW, 16);

// While it lives an event is refused, the one after so many others. One at a time.
class RefusedEvent {
  public:
    explicit RefusedEvent(int after) { left = after; }

  private:
    static HANDLE WINAPI CreateOrRefuse(SECURITY_ATTRIBUTES* security, BOOL manual, BOOL set,
                                        const wchar_t* name) {
        return left-- == 0 ? nullptr : really(security, manual, set, name);
    }

    static inline int left;
    static inline const auto really = importOfCreateEvent;
    const Redirected<std::remove_pointer_t<decltype(&::CreateEventW)>> redirected{importOfCreateEvent,
                                                                                  CreateOrRefuse};
};
