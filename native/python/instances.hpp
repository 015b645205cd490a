// Creates instances of classes written in Python.
#pragma once

#include <initializer_list>

#include "python/reference.hpp"

namespace tarnel::python {

// `callable(**dict(zip(keywords, values)))`. If a class creates instances only by its `__init__`, calls that directly
// and saves packing the keywords into a dict. `init_name` is "__init__".
[[nodiscard]] Ref new_instance(PyObject* callable, std::initializer_list<PyObject*> values, PyObject* keywords,
                               PyObject* init_name);

}  // namespace tarnel::python
