// `except` clauses.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// An `except TYPE as error:` block, to be made in a C++ handler of PythonError, where the error is set. Throws on when
// the error is of another type. While it lives, the error counts as being handled, as `sys.exception()` and the
// `__context__` of errors raised meanwhile show.
class Handling {
  public:
    explicit Handling(PyObject* type) {
        if (PyErr_ExceptionMatches(type) == 0) throw PythonError{};
        error_ = Ref::steal(PyErr_GetRaisedException());
        outer_ = Ref::steal(PyErr_GetHandledException());
        PyErr_SetHandledException(error_);
    }
    Handling(const Handling&) = delete;
    Handling(Handling&&) = delete;
    Handling& operator=(const Handling&) = delete;
    Handling& operator=(Handling&&) = delete;
    ~Handling() { PyErr_SetHandledException(outer_); }

    [[nodiscard]] PyObject* error() const noexcept { return error_; }

  private:
    Ref error_;
    Ref outer_;
};

}  // namespace tarnel::python
