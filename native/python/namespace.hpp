// The namespace of a module during its import.
#pragma once

#include <array>
#include <cstddef>

#include "python/reference.hpp"

namespace tarnel::python {

// C++ string literals as interned Python strings, each created once. The key is the literal's address: the linker
// merges equal literals, and where it doesn't, the string is interned again.
class Literals {
  public:
    // Borrowed: lives as long as this table.
    [[nodiscard]] PyObject* operator[](const char* text);

  private:
    struct Entry {
        const char* text = nullptr;
        Ref interned;
    };
    std::array<Entry, 256> entries_;
};

class Namespace {
  public:
    explicit Namespace(PyObject* module) : dict_(PyModule_GetDict(module)) {}

    [[nodiscard]] PyObject* dict() const noexcept { return dict_; }
    [[nodiscard]] PyObject* literal(const char* text) { return literals_[text]; }

    // The value of a global name: from the namespace, else from the builtins, else NameError.
    [[nodiscard]] Ref operator[](const char* name);

    void bind(const char* name, PyObject* value) { checked(PyDict_SetItem(dict_, literals_[name], value)); }

    // The file name shown in tracebacks through the module. Borrowed.
    [[nodiscard]] PyObject* file();

  private:
    PyObject* dict_;
    Literals literals_;
    Ref file_;
};

}  // namespace tarnel::python
