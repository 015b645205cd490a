// `except` clauses.
#pragma once

#include "python/reference.hpp"
#include "python/thread.hpp"

namespace tarnel::python {

// An `except TYPE as error:` block, to be made in a C++ handler of PythonError, where the error is set. Throws on when
// the error is of another type. While it lives, the error counts as being handled, as `sys.exception()` and the
// `__context__` of errors raised meanwhile show.
//
// It stacks an item of its own, as a generator does: setting and restoring the innermost one would leave an exception
// that the caller of a generator handles in that generator's item, for good.
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
        const Ref handled = Ref::steal(item_.exc_value);  // may be another by now, if foreign code has set one
    }

    [[nodiscard]] PyObject* error() const noexcept { return error_; }

  private:
    PyThreadState* state_ = PyThreadState_Get();
    Ref error_;
    _PyErr_StackItem item_{};
};

}  // namespace tarnel::python
