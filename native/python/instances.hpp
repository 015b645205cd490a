// Instances of classes that are written in Python.
#pragma once

#include <initializer_list>

#include "python/reference.hpp"

namespace tarnel::python {

// `callable(**dict(zip(keywords, values)))`. A class whose instances are made by nothing but its `__init__` is not
// asked to pack the keywords into a dict first. `init_name` is "__init__".
[[nodiscard]] Ref new_instance(PyObject* callable, std::initializer_list<PyObject*> values, PyObject* keywords,
                               PyObject* init_name);

}  // namespace tarnel::python
