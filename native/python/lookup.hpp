// Looks up global names and attributes in slots.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// The value of a global name: from the namespace, else from the builtins, else NameError.
[[nodiscard]] Ref look_up(PyObject* globals, PyObject* builtins, PyObject* name);

// The value of an attribute stored in a slot (`__slots__`), read without running foreign code; null for any other
// attribute or an empty slot.
[[nodiscard]] Ref attribute_in_slot(PyObject* object, PyObject* name);

}  // namespace tarnel::python
