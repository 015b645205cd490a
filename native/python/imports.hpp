// Import statements, run through the interpreter's `__import__` as those of a Python module are.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// `import module`, for a top-level module: gives it. `globals` is the importing module's namespace.
[[nodiscard]] Ref import_module(PyObject* globals, const char* module);

// `from module import name`, absolute: gives the value. A missing name is an ImportError.
[[nodiscard]] Ref import_from(PyObject* globals, const char* module, const char* name);

}  // namespace tarnel::python
