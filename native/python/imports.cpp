#include "python/imports.hpp"

#include "python/objects.hpp"

namespace tarnel::python {

namespace {

// `names` is a tuple, or None.
Ref imported(Namespace& module, const char* name, PyObject* names) {
    const Ref import = item_if_any(PyEval_GetBuiltins(), module.literal("__import__"));
    if (import.get() == nullptr) {
        PyErr_Format(PyExc_ImportError, "__import__ not found");
        throw PythonError{};
    }
    const Ref absolute = integer(0);  // the level of an absolute import
    return call(import, {module.literal(name), module.dict(), module.dict(), names, absolute});
}

// Compiles and runs the statement. This is slower, but handles a missing attribute as the interpreter does: it falls
// back to sys.modules, and raises the right error.
void run_import_from(Namespace& module, const char* origin, const char* name) {
    constexpr int optimization_of_the_interpreter = -1;
    const Ref statement = checked(PyUnicode_FromFormat("from %s import %s", origin, name));
    const char* source = PyUnicode_AsUTF8AndSize(statement, nullptr);
    if (source == nullptr) throw PythonError{};
    const Ref code =
        checked(Py_CompileStringObject(source, module.file(), Py_file_input, nullptr, optimization_of_the_interpreter));
    const Ref nothing = checked(PyEval_EvalCode(code, module.dict(), module.dict()));
}

}  // namespace

void import_module(Namespace& module, const char* name) {
    const Ref value = imported(module, name, Py_None);
    module.bind(name, value);
}

void import_from(Namespace& module, const char* origin, const char* name) {
    const Ref names = tuple_of({module.literal(name)});
    const Ref found = imported(module, origin, names);
    const Ref value = Ref::steal(PyObject_GetAttr(found, module.literal(name)));
    if (value.get() != nullptr) {
        module.bind(name, value);
        return;
    }
    if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) throw PythonError{};
    PyErr_Clear();
    run_import_from(module, origin, name);
}

}  // namespace tarnel::python
