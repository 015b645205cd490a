// `except` clauses.
#pragma once

#include "python/reference.hpp"
#include "python/thread.hpp"

namespace tarnel::python {

// An `except TYPE as error:` block. Create it where the error is set, usually in a C++ handler of PythonError. Rethrows
// an error of another type. While it lives, the error counts as being handled: it is `sys.exception()`, and the
// `__context__` of errors raised meanwhile.
//
// It pushes its own exception item, as a generator does. Setting and restoring the innermost item instead would leave
// an exception that a generator's caller is handling in the generator's item permanently.
class Handling {
  public:
    explicit Handling(PyObject* type) {
        if (PyErr_ExceptionMatches(type) == 0) throw PythonError{};
        error_ = Ref::steal(PyErr_GetRaisedException());
        item_ = {Py_NewRef(error_.get()), state_->exc_info};
        state_->exc_info = &item_;
    }
    Handling(const Handling&) = delete;
    Handling(Handling&&) = delete;
    Handling& operator=(const Handling&) = delete;
    Handling& operator=(Handling&&) = delete;
    ~Handling() {
        hang_unless_attached();
        state_->exc_info = item_.previous_item;
        const Ref handled = Ref::steal(item_.exc_value);  // foreign code may have replaced it
    }

    [[nodiscard]] PyObject* error() const noexcept { return error_; }

  private:
    PyThreadState* state_ = thread_state();
    Ref error_;
    _PyErr_StackItem item_{};
};

}  // namespace tarnel::python
