// The one place where C++ exceptions end: what the interpreter calls is wrapped in `guarded`.
#pragma once

#include <exception>
#include <new>

#include "python/reference.hpp"

namespace tarnel::python {

// Runs `body`, which gives a Ref; null with an error set when it throws.
template <typename Body>
PyObject* guarded(Body&& body) noexcept {
    try {
        return body().release();
    } catch (const PythonError&) {
        return nullptr;
    } catch (const std::bad_alloc&) {
        return PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_SystemError, error.what());
        return nullptr;
    }
}

}  // namespace tarnel::python
