// The path of one skill's document, and access to the file.
#pragma once

#include <optional>
#include <string>

#include "python/call_context.hpp"
#include "python/file_access.hpp"

namespace tarnel::skill {

// The result of `skill_target_path(scope, project_root, skill_name, skills_dir)`. On the fast path it is a text,
// without a path object; otherwise it is the object that the call returned. Each operation checks whether the fast path
// still applies, and creates the path object if not.
class Target {
  public:
    Target(const python::CallContext& context, PyObject* scope, PyObject* project_root, PyObject* skill_name,
           PyObject* skills_dir);

    // `path.exists()`
    [[nodiscard]] bool exists();

    // `str(path)`
    [[nodiscard]] python::Ref text();

    // The path, if `python/file_access.hpp` gives the same results for it as pathlib; else null.
    [[nodiscard]] const python::SystemPath* plain();

    // The path object, created if necessary.
    [[nodiscard]] PyObject* object();

  private:
    void make_object();

    const python::CallContext& context_;
    std::optional<python::SystemPath> plain_;
    python::Ref object_;
    bool may_have_changed_ = false;  // what the fast path bypasses, since the last check
};

}  // namespace tarnel::skill
