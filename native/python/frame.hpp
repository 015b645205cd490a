// What a native body sees of its call: its arguments, and the names that it looks up each time it runs.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <vector>

#include "python/reference.hpp"

namespace tarnel::python {

inline constexpr std::size_t max_parameters = 8;  // of a function made here, and arguments of a call from its body

// One of the strings that bodies use (global names, attributes, keywords, literals), as an index into `Texts`.
enum class Text : std::size_t {};

// These strings, interned. They belong to the interpreter that they were made in.
class Texts {
  public:
    explicit Texts(std::span<const char* const> utf8);
    [[nodiscard]] PyObject* operator[](Text text) const noexcept { return strings_[static_cast<std::size_t>(text)]; }

  private:
    std::vector<Ref> strings_;
};

// `name=value` in a call.
struct Keyword {
    Text name;
    PyObject* value;
};

// The value of a global name: the namespace's, else the builtins', else NameError.
[[nodiscard]] Ref look_up(PyObject* globals, PyObject* builtins, PyObject* name);

// The same for the statements of a module that is being executed; the name in UTF-8.
[[nodiscard]] Ref look_up(PyObject* globals, const char* name);

// Borrows everything it is made of; whoever makes it keeps that alive while the body runs.
class Frame {
  public:
    Frame(PyObject* globals, PyObject* builtins, const Texts& texts, std::span<PyObject* const> arguments) noexcept
        : globals_(globals), builtins_(builtins), texts_(texts), arguments_(arguments) {}

    // The arguments, one per parameter in the order of the signature.
    template <std::size_t count>
    [[nodiscard]] std::array<PyObject*, count> arguments() const {
        if (arguments_.size() != count) throw std::logic_error("a body takes as many arguments as it has parameters");
        std::array<PyObject*, count> all{};
        for (std::size_t i = 0; i < count; i++) all[i] = arguments_[i];
        return all;
    }

    [[nodiscard]] PyObject* operator[](Text text) const noexcept { return texts_[text]; }

    [[nodiscard]] Ref global(Text name) const { return look_up(globals_, builtins_, texts_[name]); }

    // `object.name`
    [[nodiscard]] Ref attribute(PyObject* object, Text name) const {
        return checked(PyObject_GetAttr(object, texts_[name]));
    }

    // `callable(*positional, **keywords)`
    [[nodiscard]] Ref call(PyObject* callable, std::initializer_list<PyObject*> positional,
                           std::initializer_list<Keyword> keywords = {}) const;

    // `name(*positional, **keywords)`, for a global name whose arguments need nothing looked up or computed
    [[nodiscard]] Ref call(Text name, std::initializer_list<PyObject*> positional,
                           std::initializer_list<Keyword> keywords = {}) const {
        const Ref callable = global(name);
        return call(callable, positional, keywords);
    }

    // `object.name(*positional, **keywords)`, likewise
    [[nodiscard]] Ref call_method(PyObject* object, Text name, std::initializer_list<PyObject*> positional = {},
                                  std::initializer_list<Keyword> keywords = {}) const {
        const Ref method = attribute(object, name);
        return call(method, positional, keywords);
    }

  private:
    PyObject* globals_;
    PyObject* builtins_;
    const Texts& texts_;
    std::span<PyObject* const> arguments_;
};

}  // namespace tarnel::python
