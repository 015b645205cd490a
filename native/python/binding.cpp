#include "python/binding.hpp"

namespace tarnel::python {

namespace {

constexpr std::size_t no_parameter = max_parameters;

std::size_t index_of_parameter(PyObject* parameter_names, std::size_t count, PyObject* name) noexcept {
    const auto parameter = [parameter_names](std::size_t i) {
        return PyTuple_GET_ITEM(parameter_names, static_cast<Py_ssize_t>(i));
    };
    for (std::size_t i = 0; i < count; i++)
        if (parameter(i) == name) return i;
    if (!PyUnicode_CheckExact(name)) return no_parameter;  // a str subclass may override comparison
    for (std::size_t i = 0; i < count; i++)
        if (PyUnicode_Compare(parameter(i), name) == 0) return i;
    return no_parameter;
}

}  // namespace

bool Binding::bind(PyObject* function, const PyCodeObject* code, std::span<PyObject* const> given,
                   PyObject* const* keyword_values, PyObject* keyword_names) {
    if (given.size() > static_cast<std::size_t>(code->co_argcount)) return false;
    size_ = static_cast<std::size_t>(code->co_argcount) + static_cast<std::size_t>(code->co_kwonlyargcount);
    for (std::size_t i = 0; i < given.size(); i++) values_[i] = Py_NewRef(given[i]);
    if (keyword_names != nullptr && !bind_keywords(code, keyword_values, keyword_names)) return false;
    return bind_defaults(function, code);
}

bool Binding::bind_keywords(const PyCodeObject* code, PyObject* const* values, PyObject* names) noexcept {
    const Py_ssize_t count = PyTuple_GET_SIZE(names);
    for (Py_ssize_t i = 0; i < count; i++) {
        const std::size_t index = index_of_parameter(code->co_localsplusnames, size_, PyTuple_GET_ITEM(names, i));
        if (index == no_parameter || values_[index] != nullptr) return false;
        values_[index] = Py_NewRef(values[i]);
    }
    return true;
}

bool Binding::bind_defaults(PyObject* function, const PyCodeObject* code) {
    const Ref defaults = Ref::borrow(PyFunction_GET_DEFAULTS(function));
    const Ref keyword_defaults = Ref::borrow(PyFunction_GET_KW_DEFAULTS(function));
    const Py_ssize_t count = defaults.get() == nullptr ? 0 : PyTuple_GET_SIZE(defaults.get());
    for (std::size_t i = 0; i < size_; i++) {
        if (values_[i] != nullptr) continue;
        const auto position = static_cast<Py_ssize_t>(i);
        if (position < code->co_argcount) {
            const Py_ssize_t from_the_end = code->co_argcount - position;
            if (from_the_end > count) return false;
            values_[i] = Py_NewRef(PyTuple_GET_ITEM(defaults.get(), count - from_the_end));
        } else {
            if (keyword_defaults.get() == nullptr) return false;
            PyObject* name = PyTuple_GET_ITEM(code->co_localsplusnames, position);
            PyObject* value = PyDict_GetItemWithError(keyword_defaults, name);  // comparing keys may run any code
            if (value == nullptr && PyErr_Occurred() != nullptr) throw PythonError{};
            if (value == nullptr) return false;
            values_[i] = Py_NewRef(value);
        }
    }
    return true;
}

}  // namespace tarnel::python
