// Ownership of Python objects.
#pragma once

#include <utility>

#include "python/capi.hpp"

namespace tarnel::python {

// Thrown when a C-API call has failed and set the interpreter's error indicator.
struct PythonError {};

// Owns one reference or none. A named Ref converts to a borrowed `PyObject*`. A temporary doesn't, which forces
// operands into separate statements, evaluated in the order written.
class Ref {
  public:
    Ref() noexcept = default;
    [[nodiscard]] static Ref steal(PyObject* object) noexcept { return Ref(object); }
    [[nodiscard]] static Ref borrow(PyObject* object) noexcept { return Ref(Py_XNewRef(object)); }

    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept {
        // Drop the old object last: its finalizer may run any code, which must see this reference in a valid state.
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
    // NOLINTNEXTLINE(misc-explicit-constructor): implicit borrowing is intended
    operator PyObject*() const& noexcept { return object_; }
    operator PyObject*() && = delete;

  private:
    explicit Ref(PyObject* object) noexcept : object_(object) {}
    static void drop(PyObject* object) noexcept;

    PyObject* object_ = nullptr;
};

// Takes ownership of the new reference that a C-API call returned; throws if that is null.
[[nodiscard]] inline Ref checked(PyObject* new_reference) {
    if (new_reference == nullptr) throw PythonError{};
    return Ref::steal(new_reference);
}

// The result of a C-API call; throws if it is negative, which means failure.
template <typename Number>
Number checked(Number result) {
    if (result < 0) throw PythonError{};
    return result;
}

}  // namespace tarnel::python
