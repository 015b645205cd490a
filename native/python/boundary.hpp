// The boundary for C++ exceptions: every entry point that the interpreter calls runs its work in `guarded`.
#pragma once

#include <exception>
#include <new>

#include "python/reference.hpp"
#include "python/thread.hpp"

namespace tarnel::python {

// Runs `body` and returns its Ref; null with an error set if it throws.
template <typename Body>
PyObject* guarded(Body&& body) noexcept {
    try {
        return body().release();
    } catch (const PythonError&) {
        if (PyErr_Occurred() == nullptr) PyErr_NoMemory();  // CPython 3.12.1 doesn't always set it
        return nullptr;
    } catch (const std::bad_alloc&) {
        return PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_Format(PyExc_SystemError, "%s", error.what());
        return nullptr;
    } catch (...) {  // not thrown by us: most likely the end of this thread
        hang_unless_attached();
        PyErr_Format(PyExc_SystemError, "a C++ exception of an unknown type");
        return nullptr;
    }
}

}  // namespace tarnel::python
