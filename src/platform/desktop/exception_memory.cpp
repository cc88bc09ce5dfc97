// Linked into each DLL of the desktop: the C++ run time reserves 73 KB for exceptions that are thrown when
// there is no memory left, and does not give them back by itself when the DLL is unloaded.
namespace __gnu_cxx {
void __freeres();
}

namespace {

struct ExceptionMemory {
    ~ExceptionMemory() { __gnu_cxx::__freeres(); }
};

// Destroyed after all others.
[[gnu::init_priority(101)]] const ExceptionMemory exceptionMemory;

}  // namespace
