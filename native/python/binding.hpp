// Binds the arguments of simple calls to parameters.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "python/call_context.hpp"

namespace tarnel::python {

// One call's arguments, in parameter order. Owns them for the whole call, because the function's keyword defaults, for
// example, can be replaced while the body runs.
class Binding {
  public:
    // Binds the given arguments and the function's current defaults to the parameters of `code`. Returns false unless
    // positional and exactly matching keyword arguments suffice; the interpreter then binds them or raises the error.
    // `given`, `keyword_values` and `keyword_names` come from a vectorcall.
    [[nodiscard]] bool bind(PyObject* function, const PyCodeObject* code, std::span<PyObject* const> given,
                            PyObject* const* keyword_values, PyObject* keyword_names);

    [[nodiscard]] std::span<PyObject* const> arguments() const noexcept { return {values_.data(), size_}; }

    Binding() noexcept = default;
    Binding(const Binding&) = delete;
    Binding(Binding&&) = delete;
    Binding& operator=(const Binding&) = delete;
    Binding& operator=(Binding&&) = delete;
    ~Binding() {
        for (PyObject* value : values_) const Ref owned = Ref::steal(value);
    }

  private:
    bool bind_keywords(const PyCodeObject* code, PyObject* const* values, PyObject* names) noexcept;
    bool bind_defaults(PyObject* function, const PyCodeObject* code);

    std::array<PyObject*, max_parameters> values_{};
    std::size_t size_ = 0;
};

}  // namespace tarnel::python
