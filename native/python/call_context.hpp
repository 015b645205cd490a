// A native body's view of its call: its arguments, and the names that it looks up each time it runs.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <stdexcept>

#include "python/lookup.hpp"
#include "python/shared.hpp"

namespace tarnel::python {

inline constexpr std::size_t max_parameters = 8;  // also the limit on arguments of a call from a body

// `name=value` in a call.
struct Keyword {
    StringId name;
    PyObject* value;
};

class CallContext;

// A native body. Every parameter is bound. Throws PythonError if a Python exception is set.
using Body = Ref (*)(const CallContext& context);

// Borrows all of its members; the creator keeps them alive while the body runs.
class CallContext {
  public:
    CallContext(PyObject* globals, PyObject* builtins, Shared& shared, std::span<PyObject* const> arguments) noexcept
        : globals_(globals), builtins_(builtins), shared_(shared), arguments_(arguments) {}

    // The arguments, one per parameter in the order of the signature.
    template <std::size_t count>
    [[nodiscard]] std::array<PyObject*, count> arguments() const {
        if (arguments_.size() != count) throw std::logic_error("a body takes as many arguments as it has parameters");
        std::array<PyObject*, count> all{};
        for (std::size_t i = 0; i < count; i++) all[i] = arguments_[i];
        return all;
    }

    [[nodiscard]] PyObject* operator[](StringId id) const noexcept { return shared_.strings[id]; }

    [[nodiscard]] Ref global(StringId name) const {
        PyObject* value = global_if_plain(name);
        return value != nullptr ? Ref::borrow(value) : look_up(globals_, builtins_, shared_.strings[name]);
    }

    // Whether a global name refers to an unchanged native function with this body and the same globals and builtins. If
    // so, a fast path may run the body without a call. Neither overload runs foreign code.
    [[nodiscard]] bool is_own(StringId name, Body body) const {
        PyObject* value = global_if_plain(name);
        return value != nullptr && is_own(value, body);
    }
    [[nodiscard]] bool is_own(PyObject* value, Body body) const;

    // The value of a global name, borrowed; null if the namespace has none or isn't a plain dict.
    [[nodiscard]] PyObject* global_if_plain(StringId name) const {
        return PyDict_CheckExact(globals_) ? shared_.globals.find(globals_, shared_.strings, name) : nullptr;
    }

    [[nodiscard]] StandardLibrary& standard_library() const noexcept { return shared_.standard_library; }
    [[nodiscard]] PyObject* recognized(std::size_t index) const noexcept { return shared_.recognized[index]; }

    // `object.name`
    [[nodiscard]] Ref attribute(PyObject* object, StringId name) const {
        return checked(PyObject_GetAttr(object, shared_.strings[name]));
    }

    // `callable(*positional, **keywords)`
    [[nodiscard]] Ref call(PyObject* callable, std::initializer_list<PyObject*> positional,
                           std::initializer_list<Keyword> keywords = {}) const;

    // `name(*positional, **keywords)` for a global name. Only if the arguments need no lookup or computation.
    [[nodiscard]] Ref call(StringId name, std::initializer_list<PyObject*> positional,
                           std::initializer_list<Keyword> keywords = {}) const {
        const Ref callable = global(name);
        return call(callable, positional, keywords);
    }

    // `name(*positional)` for a global name. If it refers to the module's own function with this body, runs the body
    // directly. Requires one argument per parameter.
    [[nodiscard]] Ref call(StringId name, Body own, std::initializer_list<PyObject*> positional) const {
        if (is_own(name, own)) return run(own, positional);
        return call(name, positional);
    }

    // Runs the body of one of the module's own functions.
    [[nodiscard]] Ref run(Body own, std::initializer_list<PyObject*> arguments) const {
        return own(CallContext(globals_, builtins_, shared_, {arguments.begin(), arguments.size()}));
    }

    // `object.name(*positional, **keywords)`, with the same restriction
    [[nodiscard]] Ref call_method(PyObject* object, StringId name, std::initializer_list<PyObject*> positional = {},
                                  std::initializer_list<Keyword> keywords = {}) const {
        const Ref method = attribute(object, name);
        return call(method, positional, keywords);
    }

  private:
    PyObject* globals_;
    PyObject* builtins_;
    Shared& shared_;
    std::span<PyObject* const> arguments_;
};

}  // namespace tarnel::python
