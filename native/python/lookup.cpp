#include "python/lookup.hpp"

#include <array>

#include "python/objects.hpp"

namespace tarnel::python {

namespace {

[[noreturn]] void throw_name_error(PyObject* name) {
    const Ref message = checked(PyUnicode_FromFormat("name '%U' is not defined", name));
    const std::array<PyObject*, 2> arguments = {message, name};
    const Ref keyword = text_of("name");
    const Ref keywords = tuple_of({keyword});
    const Ref error = checked(PyObject_Vectorcall(PyExc_NameError, arguments.data(), 1, keywords));
    PyErr_SetObject(PyExc_NameError, error);
    throw PythonError{};
}

// Like item_if_any, for any mapping: a dict subclass may override item lookup.
Ref item_of_mapping(PyObject* mapping, PyObject* key) {
    Ref item = Ref::steal(PyObject_GetItem(mapping, key));
    if (item.get() != nullptr) return item;
    if (PyErr_ExceptionMatches(PyExc_KeyError) == 0) throw PythonError{};
    PyErr_Clear();
    return item;
}

}  // namespace

Ref look_up(PyObject* globals, PyObject* builtins, PyObject* name) {
    const bool plain = PyDict_CheckExact(globals) && PyDict_CheckExact(builtins);
    for (PyObject* scope : {globals, builtins}) {
        Ref value = plain ? item_if_any(scope, name) : item_of_mapping(scope, name);
        if (value.get() != nullptr) return value;
    }
    throw_name_error(name);
}

Ref attribute_in_slot(PyObject* object, PyObject* name) {
    PyTypeObject* type = Py_TYPE(object);
    if (type->tp_getattro != PyObject_GenericGetAttr) return {};
    PyObject* descriptor = _PyType_Lookup(type, name);
    if (descriptor == nullptr || !Py_IS_TYPE(descriptor, &PyMemberDescr_Type)) return {};
    const PyMemberDef* slot = reinterpret_cast<PyMemberDescrObject*>(descriptor)->d_member;
    if (slot->type != Py_T_OBJECT_EX || PyObject_TypeCheck(object, PyDescr_TYPE(descriptor)) == 0) return {};
    PyObject* value = *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(object) + slot->offset);
    return Ref::borrow(value);
}

}  // namespace tarnel::python
