// The one place where C++ exceptions end: what the interpreter calls is wrapped in `guarded`.
#pragma once

#include <exception>
#include <new>

#include "python/reference.hpp"
#include "python/thread.hpp"

namespace tarnel::python {

// Runs `body`, which gives a Ref; null with an error set when it throws.
template <typename Body>
PyObject* guarded(Body&& body) noexcept {
    try {
        return body().release();
    } catch (const PythonError&) {
        if (PyErr_Occurred() == nullptr) PyErr_NoMemory();  // 3.12.1 forgets to say so in a few places
        return nullptr;
    } catch (const std::bad_alloc&) {
        return PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_SystemError, error.what());
        return nullptr;
    } catch (...) {  // nothing of ours: most likely the end of this thread
        hang_unless_attached();
        PyErr_SetString(PyExc_SystemError, "a C++ exception of an unknown type");
        return nullptr;
    }
}

}  // namespace tarnel::python
