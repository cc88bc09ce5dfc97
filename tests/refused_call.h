// Calls of the system that no input makes fail: this program's own table of imports leads elsewhere
// meanwhile.
#pragma once

#include <windows.h>

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
