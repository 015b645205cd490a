#include "python/imports.hpp"

#include "python/objects.hpp"

namespace tarnel::python {

namespace {

constexpr int absolute = 0;  // the level of an import that isn't relative to the package

Ref imported(PyObject* globals, const char* module, PyObject* names) {
    const Ref import = item_if_any(PyEval_GetBuiltins(), "__import__");
    if (import.get() == nullptr) {
        PyErr_SetString(PyExc_ImportError, "__import__ not found");
        throw PythonError{};
    }
    return checked(PyObject_CallFunction(import, "sOOOi", module, globals, globals, names, absolute));
}

// The statement itself: slower by the compiling of it, but it knows where else to look for a missing name, and how to
// say that there is none.
void run_import_from(PyObject* globals, const char* module, const char* name) {
    constexpr int optimization_of_the_interpreter = -1;
    const Ref statement = checked(PyUnicode_FromFormat("from %s import %s", module, name));
    const char* source = PyUnicode_AsUTF8(statement);
    if (source == nullptr) throw PythonError{};
    const Ref file = file_of_module(globals);
    const Ref code =
        checked(Py_CompileStringObject(source, file, Py_file_input, nullptr, optimization_of_the_interpreter));
    const Ref nothing = checked(PyEval_EvalCode(code, globals, globals));
}

}  // namespace

void import_module(PyObject* globals, const char* module) {
    const Ref value = imported(globals, module, Py_None);
    checked(PyDict_SetItemString(globals, module, value));
}

void import_from(PyObject* globals, const char* module_name, const char* name) {
    const Ref names = checked(Py_BuildValue("(s)", name));
    const Ref module = imported(globals, module_name, names);
    const Ref value = Ref::steal(PyObject_GetAttrString(module, name));
    if (value.get() != nullptr) {
        checked(PyDict_SetItemString(globals, name, value));
        return;
    }
    if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) throw PythonError{};
    PyErr_Clear();
    run_import_from(globals, module_name, name);
}

}  // namespace tarnel::python
