// Renders skill documents, stamped with a version.
#pragma once

#include <optional>
#include <string>

#include "python/call_context.hpp"

namespace tarnel::skill {

// `render_skill_md(skill_name=skill_name)` in UTF-8; nothing if that call could run foreign code or fail.
[[nodiscard]] std::optional<std::string> rendered_in_utf8(const python::CallContext& context, PyObject* skill_name);

}  // namespace tarnel::skill
