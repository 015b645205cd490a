#include "python/code.hpp"

#include <opcode.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "python/boundary.hpp"
#include "python/objects.hpp"
#include "python/recursion.hpp"
#include "runtime/unwinder.hpp"

namespace tarnel::python {

namespace {

constexpr Py_ssize_t constants_of_code = 2;  // the docstring, where functions look for it, and the builtin
constexpr unsigned builtin_index = 1;

NativeBody* body_in(PyObject* capsule) noexcept {
    return static_cast<NativeBody*>(PyCapsule_GetPointer(capsule, nullptr));
}

void destroy_body(PyObject* capsule) noexcept { delete body_in(capsule); }

// Called by the instructions. Any code can reach it through the code's constants, so it validates its arguments.
PyObject* call_body(PyObject* capsule, PyObject* const* arguments, Py_ssize_t count) noexcept {
    const NativeBody* native = body_in(capsule);
    PyObject* globals = PyEval_GetGlobals();
    if (count != native->parameters || globals == nullptr) {
        PyErr_Format(PyExc_TypeError, "this is the body of a function: call the function instead");
        return nullptr;
    }
    return guarded([&] {
        return native->run(globals, PyEval_GetBuiltins(), std::span(arguments, static_cast<std::size_t>(count)));
    });
}

PyMethodDef call_body_method = {"body", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(call_body)),
                                METH_FASTCALL,
                                "Runs the native body of a function, in the namespace of the code that calls it."};

// A byte string of a code object, with at most two bytes per code unit.
struct Bytes {
    std::array<char, 2 * (max_parameters + 8)> content{};
    std::size_t size = 0;

    constexpr void add(unsigned byte) { content.at(size++) = static_cast<char>(byte); }
    [[nodiscard]] Ref object() const {
        return checked(PyBytes_FromStringAndSize(content.data(), static_cast<Py_ssize_t>(size)));
    }
};

// RESUME; push the builtin; load the parameters; call; return.
constexpr Bytes instructions(unsigned parameters) {
    Bytes code;
    const auto emit = [&code](unsigned opcode, unsigned argument = 0) {
        code.add(opcode);
        code.add(argument);
    };
    emit(RESUME);
    emit(PUSH_NULL);
    emit(LOAD_CONST, builtin_index);
    for (unsigned i = 0; i < parameters; i++) emit(LOAD_FAST, i);
    emit(CALL, parameters);
    constexpr int caches_of_call = 3;
    for (int i = 0; i < caches_of_call; i++) emit(CACHE);
    emit(RETURN_VALUE);
    return code;
}

// Line 1 for every code unit: instructions without a line break traceback formatters.
constexpr Bytes line_table(std::size_t units) {
    constexpr unsigned start_of_entry = 0x80;
    constexpr unsigned no_columns = 13U << 3U;  // the kind of entry: a line delta, which is 0, and no columns
    constexpr std::size_t longest_run = 8;
    Bytes table;
    while (units > 0) {
        const std::size_t run = std::min(units, longest_run);
        table.add(start_of_entry | no_columns | static_cast<unsigned>(run - 1));
        table.add(0);
        units -= run;
    }
    return table;
}

Ref parameter_names(std::initializer_list<Parameter> parameters, Namespace& module) {
    Ref names = checked(PyTuple_New(std::ssize(parameters)));
    Py_ssize_t index = 0;
    for (const Parameter& parameter : parameters)
        PyTuple_SET_ITEM(names.get(), index++, Py_NewRef(module.literal(parameter.name)));
    return names;
}

Ref capsule_of(std::unique_ptr<NativeBody> native) {
    Ref capsule = checked(PyCapsule_New(native.get(), nullptr, destroy_body));  // a name would be compared at each call
    // NOLINTNEXTLINE(bugprone-unused-return-value): the capsule owns it from here on
    native.release();
    return capsule;
}

}  // namespace

Ref NativeBody::run(PyObject* globals, PyObject* builtins, std::span<PyObject* const> arguments) const {
    if (!runtime::load_unwinder()) {
        PyErr_Format(PyExc_ImportError, runtime::unwinder_problem);
        return {};
    }
    shared->strings.ensure_made();
    const RecursiveCall recursive;
    return body(CallContext(globals, builtins, *shared, arguments));
}

Ref make_code(const Definition& definition, Namespace& module, const std::shared_ptr<Shared>& shared) {
    const int parameters = static_cast<int>(definition.parameters.size());
    const int positional = static_cast<int>(
        std::ranges::count(definition.parameters, Passing::positional_or_keyword, &Parameter::passing));
    if (definition.parameters.size() > max_parameters) throw std::logic_error("a function with too many parameters");
    const Ref capsule =
        capsule_of(std::make_unique<NativeBody>(NativeBody{definition.body, parameters, shared, Ref()}));
    const Ref builtin = checked(PyCFunction_New(&call_body_method, capsule));
    const Ref doc = text_of(definition.doc);
    const Ref constants = tuple_of({doc, builtin});
    const Ref empty = checked(PyTuple_New(0));
    const Ref variables = parameter_names(definition.parameters, module);
    PyObject* name = module.literal(definition.name);
    const Bytes units = instructions(static_cast<unsigned>(parameters));
    const Ref unit_bytes = units.object();
    const Ref lines = line_table(units.size / 2).object();
    const Ref exceptions = Bytes{}.object();

    constexpr int flags = CO_OPTIMIZED | CO_NEWLOCALS | CO_FUTURE_ANNOTATIONS;
    const int stack_size = parameters + 2;  // the null, the builtin and the arguments; less corrupts memory
    constexpr int positional_only = 0;
    constexpr int first_line = 1;
    Ref code = checked(reinterpret_cast<PyObject*>(PyUnstable_Code_NewWithPosOnlyArgs(
        positional, positional_only, parameters - positional, parameters, stack_size, flags, unit_bytes, constants,
        empty, variables, empty, empty, module.file(), name, name, first_line, lines, exceptions)));
    body_in(capsule)->code = checked(PyWeakref_NewRef(code, nullptr));
    return code;
}

const NativeBody* native_body_of(PyObject* code) noexcept {
    PyObject* constants = reinterpret_cast<PyCodeObject*>(code)->co_consts;
    if (PyTuple_GET_SIZE(constants) != constants_of_code) return nullptr;
    PyObject* builtin = PyTuple_GET_ITEM(constants, builtin_index);
    if (!PyCFunction_CheckExact(builtin) || PyCFunction_GET_FUNCTION(builtin) != call_body_method.ml_meth)
        return nullptr;
    const NativeBody* native = body_in(PyCFunction_GET_SELF(builtin));
    return PyWeakref_GET_OBJECT(native->code.get()) == code ? native : nullptr;
}

}  // namespace tarnel::python
