#include "python/frame.hpp"

#include "python/objects.hpp"

namespace tarnel::python {

namespace {

[[noreturn]] void throw_name_error(PyObject* name) {
    const Ref message = checked(PyUnicode_FromFormat("name '%U' is not defined", name));
    const Ref error = checked(PyObject_CallOneArg(PyExc_NameError, message));
    checked(PyObject_SetAttrString(error, "name", name));
    PyErr_SetObject(PyExc_NameError, error);
    throw PythonError{};
}

// As item_if_any, for any mapping: a dict's subclass may have a way of its own to find items.
Ref item_of_mapping(PyObject* mapping, PyObject* key) {
    Ref item = Ref::steal(PyObject_GetItem(mapping, key));
    if (item.get() != nullptr) return item;
    if (PyErr_ExceptionMatches(PyExc_KeyError) == 0) throw PythonError{};
    PyErr_Clear();
    return item;
}

}  // namespace

Texts::Texts(std::span<const char* const> utf8) {
    strings_.reserve(utf8.size());
    for (const char* text : utf8) strings_.push_back(checked(PyUnicode_InternFromString(text)));
}

Ref look_up(PyObject* globals, PyObject* builtins, PyObject* name) {
    const bool plain = PyDict_CheckExact(globals) && PyDict_CheckExact(builtins);
    for (PyObject* scope : {globals, builtins}) {
        Ref value = plain ? item_if_any(scope, name) : item_of_mapping(scope, name);
        if (value.get() != nullptr) return value;
    }
    throw_name_error(name);
}

Ref look_up(PyObject* globals, const char* name) {
    const Ref key = checked(PyUnicode_InternFromString(name));
    return look_up(globals, PyEval_GetBuiltins(), key);
}

Ref Frame::call(PyObject* callable, std::initializer_list<PyObject*> positional,
                std::initializer_list<Keyword> keywords) const {
    if (positional.size() + keywords.size() > max_parameters) throw std::length_error("a call with too many arguments");
    // The first place is the callee's to use, in exchange for a faster bound method.
    std::array<PyObject*, max_parameters + 1> stack{};
    std::size_t size = 1;
    for (PyObject* argument : positional) stack[size++] = argument;
    Ref names;
    if (keywords.size() > 0) {
        names = checked(PyTuple_New(static_cast<Py_ssize_t>(keywords.size())));
        Py_ssize_t index = 0;
        for (const auto& [name, value] : keywords) {
            PyTuple_SET_ITEM(names.get(), index++, Py_NewRef(texts_[name]));
            stack[size++] = value;
        }
    }
    return checked(PyObject_Vectorcall(callable, &stack[1], positional.size() | PY_VECTORCALL_ARGUMENTS_OFFSET, names));
}

}  // namespace tarnel::python
