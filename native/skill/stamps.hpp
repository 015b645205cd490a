// How an installed version stands to the package's.
#pragma once

#include "python/frame.hpp"

namespace tarnel::skill {

// `_version_tuple(version) OPERATOR _version_tuple(__version__)`, not yet tested for truth; `operation` is Py_GE, Py_LT
// and so on.
[[nodiscard]] python::Ref compare_with_package(const python::Frame& frame, PyObject* version, int operation);

}  // namespace tarnel::skill
