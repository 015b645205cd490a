// Arguments bound to parameters the simple way.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "python/call_context.hpp"

namespace tarnel::python {

// One call's arguments, in the order of the parameters. Owns them for the whole call: the caller's keyword defaults,
// for one, can be replaced while the body runs.
class Binding {
  public:
    // Binds what was given, and the function's defaults as they stand now, to the parameters of `code`. False when it
    // takes more than positions and exactly matching keywords: then the interpreter binds, or words the error.
    // `given` and `keyword_names` are those of a vectorcall.
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
