// Import statements, run as in a Python module: through `__import__`, with the interpreter's own errors.
#pragma once

#include "python/namespace.hpp"

namespace tarnel::python {

// `import name`, for a top-level module.
void import_module(Namespace& module, const char* name);

// `from origin import name`, absolute.
void import_from(Namespace& module, const char* origin, const char* name);

}  // namespace tarnel::python
