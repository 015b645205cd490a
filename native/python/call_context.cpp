#include "python/call_context.hpp"

#include <stdexcept>

namespace tarnel::python {

Ref CallContext::call(PyObject* callable, std::initializer_list<PyObject*> positional,
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
            PyTuple_SET_ITEM(names.get(), index++, Py_NewRef(strings_[name]));
            stack[size++] = value;
        }
    }
    return checked(PyObject_Vectorcall(callable, &stack[1], positional.size() | PY_VECTORCALL_ARGUMENTS_OFFSET, names));
}

}  // namespace tarnel::python
