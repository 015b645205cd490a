#include "python/reference.hpp"

#include <exception>

#include "python/thread.hpp"

namespace tarnel::python {

void Ref::drop(PyObject* object) noexcept {
    hang_unless_attached();
    try {
        Py_DECREF(object);
    } catch (...) {  // the thread was ended while the object's finalizer waited for the GIL
        hang_unless_attached();
        std::terminate();
    }
}

}  // namespace tarnel::python
