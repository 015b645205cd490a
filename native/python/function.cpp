#include "python/function.hpp"

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "python/binding.hpp"
#include "python/boundary.hpp"
#include "python/code.hpp"
#include "python/objects.hpp"

namespace tarnel::python {

namespace {

// Fast calls create no frames that count against the recursion limit, and the C stack may hold fewer of them than that
// limit allows. From this depth on, calls take the slow path.
constexpr int max_nested_fast_calls = 100;
thread_local int nested_fast_calls = 0;

class NestedFastCall {
  public:
    NestedFastCall() noexcept { nested_fast_calls++; }
    NestedFastCall(const NestedFastCall&) = delete;
    NestedFastCall(NestedFastCall&&) = delete;
    NestedFastCall& operator=(const NestedFastCall&) = delete;
    NestedFastCall& operator=(NestedFastCall&&) = delete;
    ~NestedFastCall() { nested_fast_calls--; }
};

// The vectorcall entry of plain Python functions: the same for all functions and all interpreters of the process.
std::atomic<vectorcallfunc> interpreter_call = nullptr;

// The fast call path: binds the arguments and runs the body without a frame. Leaves any other call to the interpreter,
// before any observable effect. Not noexcept, because the slow path may end the thread.
PyObject* call_function(PyObject* function, PyObject* const* arguments, size_t flags, PyObject* keywords) {
    PyObject* code_object = PyFunction_GET_CODE(function);
    const NativeBody* native = native_body_of(code_object);
    if (native == nullptr || nested_fast_calls >= max_nested_fast_calls)
        return interpreter_call.load(std::memory_order_relaxed)(function, arguments, flags, keywords);

    // Binding and the body may run code that drops or changes the function, so own what they use.
    const Ref keeps_function = Ref::borrow(function);
    const Ref keeps_code = Ref::borrow(code_object);
    const std::span given(arguments, static_cast<std::size_t>(PyVectorcall_NARGS(flags)));
    bool handled = false;
    PyObject* result = guarded([&]() -> Ref {
        Binding binding;
        const auto* code = reinterpret_cast<PyCodeObject*>(code_object);
        handled = true;
        if (!binding.bind(function, code, given, arguments + given.size(), keywords)) {
            handled = false;
            return {};
        }
        const NestedFastCall nested;
        PyObject* builtins = reinterpret_cast<PyFunctionObject*>(function)->func_builtins;
        return native->run(PyFunction_GET_GLOBALS(function), builtins, binding.arguments());
    });
    if (handled) return result;
    return interpreter_call.load(std::memory_order_relaxed)(function, arguments, flags, keywords);
}

Ref evaluate(const Default& value, Namespace& module) {
    switch (value.kind) {
        case Default::Kind::absent:
        case Default::Kind::none:
            return Ref::borrow(Py_None);
        case Default::Kind::no:
            return Ref::borrow(Py_False);
        case Default::Kind::empty_tuple:
            return checked(PyTuple_New(0));
        case Default::Kind::literal:
            return Ref::borrow(module.literal(value.text));
        case Default::Kind::global:
            return module[value.text];
    }
    throw std::logic_error("a default of an unknown kind");
}

void set_defaults(PyObject* function, std::initializer_list<Parameter> parameters, Namespace& module) {
    const auto is_required = [](const Parameter& each) { return each.default_value.kind == Default::Kind::absent; };
    if (std::ranges::all_of(parameters, is_required)) return;
    const Ref positional = checked(PyList_New(0));
    Ref keyword_only = checked(PyDict_New());
    for (const auto& [name, annotation, default_value, passing] : parameters) {
        if (default_value.kind == Default::Kind::absent) continue;
        const Ref value = evaluate(default_value, module);
        if (passing == Passing::keyword_only)
            checked(PyDict_SetItem(keyword_only, module.literal(name), value));
        else
            checked(PyList_Append(positional, value));
    }
    auto* fields = reinterpret_cast<PyFunctionObject*>(function);
    if (PyList_GET_SIZE(positional.get()) > 0) fields->func_defaults = checked(PyList_AsTuple(positional)).release();
    if (PyDict_GET_SIZE(keyword_only.get()) > 0) fields->func_kwdefaults = keyword_only.release();
}

// As a `def` statement stores them: alternating names and texts, which the function turns into a dict on first access.
void set_annotations(PyObject* function, const Definition& definition, Namespace& module) {
    Ref annotations = checked(PyTuple_New(2 * (std::ssize(definition.parameters) + 1)));
    Py_ssize_t size = 0;
    const auto add = [&](const char* literal) {
        PyTuple_SET_ITEM(annotations.get(), size++, Py_NewRef(module.literal(literal)));
    };
    for (const Parameter& parameter : definition.parameters) {
        add(parameter.name);
        add(parameter.annotation);
    }
    add("return");
    add(definition.returns);
    reinterpret_cast<PyFunctionObject*>(function)->func_annotations = annotations.release();
}

void use_fast_call(PyObject* object) {
    auto* function = reinterpret_cast<PyFunctionObject*>(object);
    interpreter_call.store(function->vectorcall, std::memory_order_relaxed);
    PyFunction_SetVectorcall(function, call_function);
}

}  // namespace

void define(Namespace& module, const Definition& definition, const std::shared_ptr<Shared>& shared) {
    const Ref code = make_code(definition, module, shared);
    PyObject* name = module.literal(definition.name);
    const Ref function = checked(PyFunction_NewWithQualName(code, module.dict(), name));
    set_defaults(function, definition.parameters, module);
    set_annotations(function, definition, module);
    use_fast_call(function);
    module.bind(definition.name, function);
}

}  // namespace tarnel::python
