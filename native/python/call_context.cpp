#include "python/call_context.hpp"

#include <stdexcept>

#include "python/code.hpp"

namespace tarnel::python {

bool CallContext::is_own(PyObject* value, Body body) const {
    if (!PyFunction_Check(value)) return false;
    const auto* function = reinterpret_cast<PyFunctionObject*>(value);
    const NativeBody* native = native_body_of(function->func_code);
    return native != nullptr && native->body == body && function->func_globals == globals_ &&
           function->func_builtins == builtins_;
}

Ref CallContext::call(PyObject* callable, std::initializer_list<PyObject*> positional,
                      std::initializer_list<Keyword> keywords) const {
    if (positional.size() + keywords.size() > max_parameters) throw std::length_error("a call with too many arguments");
    // The callee may use the first slot, which makes calling a bound method faster.
    std::array<PyObject*, max_parameters + 1> stack{};
    std::size_t size = 1;
    for (PyObject* argument : positional) stack[size++] = argument;
    Ref names;
    if (keywords.size() > 0) {
        names = checked(PyTuple_New(static_cast<Py_ssize_t>(keywords.size())));
        Py_ssize_t index = 0;
        for (const auto& [name, value] : keywords) {
            PyTuple_SET_ITEM(names.get(), index++, Py_NewRef(shared_.strings[name]));
            stack[size++] = value;
        }
    }
    return checked(PyObject_Vectorcall(callable, &stack[1], positional.size() | PY_VECTORCALL_ARGUMENTS_OFFSET, names));
}

}  // namespace tarnel::python
