// Threads that the interpreter has ended.
//
// While the interpreter shuts down, CPython 3.12 ends a daemon thread that asks for the GIL by `pthread_exit`. On glibc
// that unwinds the stack as an exception does, past every destructor and into every `catch (...)`, but without the GIL:
// no object may be touched any more, and leaving a handler or a noexcept function would end the process. Nor may the
// unwinding go on from one of our destructors where the C++ runtime that is linked in isn't glibc's own. So whatever
// such a thread reaches first makes it hang until the process is gone.
#pragma once

#include <unistd.h>

#include "python/capi.hpp"

namespace tarnel::python {

// Whether this thread may touch objects.
inline bool is_attached() noexcept { return _PyThreadState_UncheckedGet() != nullptr; }

[[noreturn]] inline void hang() noexcept {
    for (;;) static_cast<void>(pause());
}

inline void hang_unless_attached() noexcept {
    if (!is_attached()) hang();
}

// Lets other threads run Python code while it lives, in which time no object may be touched.
class ReleasedGil {
  public:
    ReleasedGil() noexcept : state_(PyEval_SaveThread()) {}
    ReleasedGil(const ReleasedGil&) = delete;
    ReleasedGil(ReleasedGil&&) = delete;
    ReleasedGil& operator=(const ReleasedGil&) = delete;
    ReleasedGil& operator=(ReleasedGil&&) = delete;
    ~ReleasedGil() {
        try {
            PyEval_RestoreThread(state_);
        } catch (...) {  // the thread was ended while it waited
            hang();
        }
    }

  private:
    PyThreadState* state_;
};

}  // namespace tarnel::python
