// Version stamps, and how an installed version compares with the package's.
#pragma once

#include "python/call_context.hpp"
#include "python/namespace.hpp"
#include "skill/targets.hpp"

namespace tarnel::skill {

// `re.compile(PATTERN, re.MULTILINE)`: the pattern of a version stamp.
[[nodiscard]] python::Ref compile_version_pattern(python::Namespace& module);

// The compiled pattern, if it is the interpreter's own and finds the same as `core::find_stamp`; else None.
[[nodiscard]] python::Ref recognized_version_pattern(PyObject* pattern);

// `_installed_version(path)` for a target's path.
[[nodiscard]] python::Ref installed_version(const python::CallContext& context, Target& target);

// The object `_version_tuple(version) OPERATOR _version_tuple(__version__)`; `operation` is Py_GE or Py_LT.
[[nodiscard]] python::Ref compare_with_package(const python::CallContext& context, PyObject* version, int operation);

}  // namespace tarnel::skill
