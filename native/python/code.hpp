// Code objects that call a native body.
//
// Their instructions pass every parameter to a builtin in their constants, so everything the interpreter does with a
// function and its code (binding, copying, replacing, tracing) works for these too. The builtin's `self` is a capsule
// with the body's data. The garbage collector doesn't traverse code objects, so the capsule holds no reference that
// leads back to a function or the module.
#pragma once

#include <memory>
#include <span>

#include "python/definition.hpp"
#include "python/namespace.hpp"

namespace tarnel::python {

// The body that a code object runs. Lives as long as that object or any copy that shares its constants.
struct NativeBody {
    Body body;
    Py_ssize_t parameters;
    std::shared_ptr<Shared> shared;
    Ref code;  // a weak reference to the code object, to tell it from such copies

    // Runs the body, counted as one nested call. Null with an error set if the unwinder can't be loaded.
    [[nodiscard]] Ref run(PyObject* globals, PyObject* builtins, std::span<PyObject* const> arguments) const;
};

// Makes the code object for a definition.
[[nodiscard]] Ref make_code(const Definition& definition, Namespace& module, const std::shared_ptr<Shared>& shared);

// The body that `code` runs if make_code made exactly this object; else null. Runs no foreign code and sets no error.
[[nodiscard]] const NativeBody* native_body_of(PyObject* code) noexcept;

}  // namespace tarnel::python
