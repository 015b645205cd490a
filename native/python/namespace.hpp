// The namespace of a module that is being imported, as its statements use it.
#pragma once

#include <array>
#include <cstddef>

#include "python/reference.hpp"

namespace tarnel::python {

// Literals of the program as interned strings, each of them made once. A literal is known by its address: the linker
// merges equal ones, and where it doesn't, the string is looked up once more.
class Literals {
  public:
    // Lives as long as this table.
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

    // The value of a global name: the namespace's, else the builtins', else NameError.
    [[nodiscard]] Ref operator[](const char* name);

    void bind(const char* name, PyObject* value) { checked(PyDict_SetItem(dict_, literals_[name], value)); }

    // The file name that tracebacks through the module show.
    [[nodiscard]] Ref file();

  private:
    PyObject* dict_;
    Literals literals_;
};

}  // namespace tarnel::python
