#include "python/imports.hpp"

namespace tarnel::python {

void run_imports(PyObject* globals, PyObject* file, const char* statements) {
    constexpr int optimization_of_the_interpreter = -1;
    const Ref code =
        checked(Py_CompileStringObject(statements, file, Py_file_input, nullptr, optimization_of_the_interpreter));
    const Ref nothing = checked(PyEval_EvalCode(code, globals, globals));
}

}  // namespace tarnel::python
