// Import statements, run as those of a Python module are: through `__import__`, with the interpreter's own errors.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// `import module`, for a top-level module, in the namespace `globals`.
void import_module(PyObject* globals, const char* module);

// `from module import name`, absolute, in the namespace `globals`.
void import_from(PyObject* globals, const char* module, const char* name);

}  // namespace tarnel::python
