#include "python/instances.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "python/objects.hpp"

namespace tarnel::python {

namespace {

constexpr std::size_t most_arguments = 8;

// The `__init__` of a class that customises the creation of instances in no other way; null for anything else.
Ref plain_init(PyObject* callable, PyObject* name) {
    if (!Py_IS_TYPE(callable, &PyType_Type)) return {};
    auto* type = reinterpret_cast<PyTypeObject*>(callable);
    if (type->tp_new != PyBaseObject_Type.tp_new || (type->tp_flags & Py_TPFLAGS_IS_ABSTRACT) != 0) return {};
    const Ref dict = checked(PyType_GetDict(type));
    Ref init = item_if_any(dict, name);
    return init.get() != nullptr && Py_IS_TYPE(init.get(), &PyFunction_Type) ? std::move(init) : Ref();
}

}  // namespace

Ref new_instance(PyObject* callable, std::initializer_list<PyObject*> values, PyObject* keywords, PyObject* init_name) {
    std::array<PyObject*, most_arguments> arguments{};
    if (values.size() >= arguments.size()) throw std::length_error("a call with too many arguments");
    std::ranges::copy(values, arguments.begin() + 1);
    const Ref init = plain_init(callable, init_name);
    if (init.get() == nullptr)
        return checked(PyObject_Vectorcall(callable, &arguments[1], PY_VECTORCALL_ARGUMENTS_OFFSET, keywords));
    auto* type = reinterpret_cast<PyTypeObject*>(callable);
    const Ref no_arguments = checked(PyTuple_New(0));
    Ref instance = checked(type->tp_new(type, no_arguments, nullptr));
    arguments[0] = instance;
    const Ref result = checked(PyObject_Vectorcall(init, arguments.data(), 1, keywords));
    if (result.get() == Py_None) return instance;
    PyErr_Format(PyExc_TypeError, "__init__() should return None, not '%.200s'", Py_TYPE(result.get())->tp_name);
    throw PythonError{};
}

}  // namespace tarnel::python
