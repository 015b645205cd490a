// Global names.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// The value of a global name: the namespace's, else the builtins', else NameError.
[[nodiscard]] Ref look_up(PyObject* globals, PyObject* builtins, PyObject* name);

// The value of an attribute that the object keeps in a slot (`__slots__`), which takes no foreign code to get; null for
// any other attribute, or an empty slot.
[[nodiscard]] Ref attribute_in_slot(PyObject* object, PyObject* name);

}  // namespace tarnel::python
