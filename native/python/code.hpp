// Code objects that call a native body.
//
// Their instructions pass every parameter to a builtin among their constants, so that whatever the interpreter does
// with a function and its code (binding, copying, replacing, tracing) holds for these too. The builtin's `self` is a
// capsule with what the body needs. The collector doesn't see into code objects: that capsule holds no object that
// could lead back to a function or to the module.
#pragma once

#include <memory>
#include <span>

#include "python/definition.hpp"
#include "python/namespace.hpp"

namespace tarnel::python {

// What a code object made here runs. Lives as long as that object, or a copy of it that shares its constants.
struct NativeBody {
    Body body;
    Py_ssize_t parameters;
    std::shared_ptr<Shared> shared;
    Ref code;  // a weak reference to the code object, to know it from such copies

    // Runs the body, which counts as one nested call. Null with an error set when it can't be run at all.
    [[nodiscard]] Ref run(PyObject* globals, PyObject* builtins, std::span<PyObject* const> arguments) const;
};

// The code object of a definition in the module.
[[nodiscard]] Ref make_code(const Definition& definition, Namespace& module, const std::shared_ptr<Shared>& shared);

// The body that `code` runs when it is an object made here, unchanged; else null. Runs no foreign code, sets no error.
[[nodiscard]] const NativeBody* native_body_of(PyObject* code) noexcept;

}  // namespace tarnel::python
