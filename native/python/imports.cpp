#include "python/imports.hpp"

namespace tarnel::python {

namespace {

constexpr int absolute = 0;  // the level of an import that isn't relative to the package

Ref call_import(PyObject* globals, const char* module, PyObject* names) {
    PyObject* import = PyDict_GetItemString(PyEval_GetBuiltins(), "__import__");
    if (import == nullptr) {
        PyErr_SetString(PyExc_ImportError, "__import__ not found");
        throw PythonError{};
    }
    const Ref function = Ref::borrow(import);
    return checked(PyObject_CallFunction(function, "sOOOi", module, globals, globals, names, absolute));
}

// `object.name`, or null without an error when there is no such attribute.
Ref attribute_if_any(PyObject* object, PyObject* name) {
    Ref value = Ref::steal(PyObject_GetAttr(object, name));
    if (value.get() != nullptr) return value;
    if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) throw PythonError{};
    PyErr_Clear();
    return value;
}

// A submodule that is being imported further up may not be its package's attribute yet.
Ref submodule_if_loaded(PyObject* module_name, PyObject* name) {
    const Ref full_name = checked(PyUnicode_FromFormat("%U.%U", module_name, name));
    Ref module = Ref::steal(PyImport_GetModule(full_name));
    if (module.get() == nullptr && PyErr_Occurred() != nullptr) throw PythonError{};
    return module;
}

bool is_initializing(PyObject* module) {
    const Ref spec_name = checked(PyUnicode_InternFromString("__spec__"));
    const Ref spec = attribute_if_any(module, spec_name);
    if (spec.get() == nullptr) return false;
    const Ref flag_name = checked(PyUnicode_InternFromString("_initializing"));
    const Ref flag = attribute_if_any(spec, flag_name);
    return flag.get() != nullptr && checked(PyObject_IsTrue(flag)) != 0;
}

[[noreturn]] void throw_import_error(PyObject* module, PyObject* module_name, PyObject* name) {
    const Ref file_name = checked(PyUnicode_InternFromString("__file__"));
    const Ref file = attribute_if_any(module, file_name);
    const bool has_file = file.get() != nullptr && PyUnicode_Check(file.get());
    const bool circular = has_file && is_initializing(module);
    const char* state = circular ? "partially initialized module " : "";
    const char* cause = circular ? " (most likely due to a circular import)" : "";
    const Ref place = has_file ? Ref::borrow(file) : checked(PyUnicode_FromString("unknown location"));
    const Ref message = checked(
        PyUnicode_FromFormat("cannot import name %R from %s%R%s (%U)", name, state, module_name, cause, place.get()));
    PyErr_SetImportError(message, module_name, has_file ? file.get() : nullptr);
    throw PythonError{};
}

}  // namespace

Ref import_module(PyObject* globals, const char* module) { return call_import(globals, module, Py_None); }

Ref import_from(PyObject* globals, const char* module_path, const char* name_text) {
    const Ref name = checked(PyUnicode_InternFromString(name_text));
    const Ref names = checked(PyTuple_Pack(1, name.get()));
    const Ref module = call_import(globals, module_path, names);
    Ref value = attribute_if_any(module, name);
    if (value.get() != nullptr) return value;
    const Ref module_name = checked(PyUnicode_FromString(module_path));
    value = submodule_if_loaded(module_name, name);
    if (value.get() != nullptr) return value;
    throw_import_error(module, module_name, name);
}

}  // namespace tarnel::python
