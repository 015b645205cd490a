// Ownership of Python objects.
#pragma once

#include <utility>

#include "python/capi.hpp"

namespace tarnel::python {

// Thrown where a call of the C-API failed: the interpreter's error indicator is set and holds what happened.
struct PythonError {};

// Owns one reference to an object, or none. A named reference passes as a `PyObject*` to whatever borrows it; a
// temporary doesn't, so that operands are always computed one statement after another, in the order that is written.
class Ref {
  public:
    Ref() noexcept = default;
    [[nodiscard]] static Ref steal(PyObject* object) noexcept { return Ref(object); }
    [[nodiscard]] static Ref borrow(PyObject* object) noexcept { return Ref(Py_XNewRef(object)); }

    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept {
        // The old object goes last: its finalizer may run any code, which must find this reference whole.
        PyObject* old = std::exchange(object_, std::exchange(other.object_, nullptr));
        if (old != nullptr) drop(old);
        return *this;
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    ~Ref() {
        if (object_ != nullptr) drop(object_);
    }

    [[nodiscard]] PyObject* get() const noexcept { return object_; }
    [[nodiscard]] PyObject* release() noexcept { return std::exchange(object_, nullptr); }
    // NOLINTNEXTLINE(misc-explicit-constructor): borrowing from a named reference is what it is for
    operator PyObject*() const& noexcept { return object_; }
    operator PyObject*() && = delete;

  private:
    explicit Ref(PyObject* object) noexcept : object_(object) {}
    static void drop(PyObject* object) noexcept;

    PyObject* object_ = nullptr;
};

// Takes over the result of a C-API call that gives a new reference, or null with an error set.
[[nodiscard]] inline Ref checked(PyObject* new_reference) {
    if (new_reference == nullptr) throw PythonError{};
    return Ref::steal(new_reference);
}

// The result of a C-API call that gives a negative number with an error set when it fails.
template <typename Number>
Number checked(Number result) {
    if (result < 0) throw PythonError{};
    return result;
}

}  // namespace tarnel::python
