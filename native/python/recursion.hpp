// The interpreter's recursion counter.
#pragma once

#include "python/reference.hpp"
#include "python/thread.hpp"

namespace tarnel::python {

// Counts one nested call while it lives. Throws RecursionError if there are too many.
class RecursiveCall {
  public:
    RecursiveCall() {
        if (Py_EnterRecursiveCall("") != 0) throw PythonError{};
    }
    RecursiveCall(const RecursiveCall&) = delete;
    RecursiveCall(RecursiveCall&&) = delete;
    RecursiveCall& operator=(const RecursiveCall&) = delete;
    RecursiveCall& operator=(RecursiveCall&&) = delete;
    ~RecursiveCall() {
        hang_unless_attached();
        Py_LeaveRecursiveCall();
    }
};

}  // namespace tarnel::python
