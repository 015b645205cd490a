// Import statements.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// Runs the statements in the namespace `globals`, as those of a Python module are run: through `__import__`, with the
// interpreter's own errors. `file` is the name that tracebacks show.
void run_imports(PyObject* globals, PyObject* file, const char* statements);

}  // namespace tarnel::python
