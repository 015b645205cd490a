// Threads that the interpreter has ended.
//
// During shutdown, CPython 3.12 calls `pthread_exit` in a daemon thread that requests the GIL. On glibc this unwinds
// the stack like an exception, through destructors and into every `catch (...)`, but without the GIL: the thread must
// not touch objects any more, and leaving a handler or a noexcept function would end the process. If the C++ runtime is
// linked statically, unwinding can't continue from our destructors either. So the first of our destructors or handlers
// that such a thread reaches makes it hang until the process exits.
#pragma once

#include <unistd.h>

#include "python/capi.hpp"

namespace tarnel::python {

// Whether this thread may touch objects.
inline PyThreadState* thread_state() noexcept { return _PyThreadState_UncheckedGet(); }
inline bool is_attached() noexcept { return thread_state() != nullptr; }

[[noreturn]] inline void hang() noexcept {
    for (;;) static_cast<void>(pause());
}

inline void hang_unless_attached() noexcept {
    if (!is_attached()) hang();
}

// Releases the GIL while it lives. Don't touch objects meanwhile.
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
        } catch (...) {  // the thread was ended while it waited for the GIL
            hang();
        }
    }

  private:
    PyThreadState* state_;
};

}  // namespace tarnel::python
