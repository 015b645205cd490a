// Where one skill lives, and what is there.
#pragma once

#include <optional>
#include <string>

#include "python/call_context.hpp"
#include "python/file_access.hpp"

namespace tarnel::skill {

// What `skill_target_path(scope, project_root, skill_name, skills_dir)` gives. On the fast path that is a text, and no
// path object is made; else it is whatever the call returns. Each operation asks again whether the fast path is still
// to be taken, and makes the object if it isn't.
class Target {
  public:
    Target(const python::CallContext& context, PyObject* scope, PyObject* project_root, PyObject* skill_name,
           PyObject* skills_dir);

    // `path.exists()`
    [[nodiscard]] bool exists();

    // `str(path)`
    [[nodiscard]] python::Ref text();

    // The path, if pathlib would do nothing with it that `python/file_access.hpp` doesn't do as well; else null.
    [[nodiscard]] const python::SystemPath* plain();

    // The object.
    [[nodiscard]] PyObject* object();

  private:
    void make_object();

    const python::CallContext& context_;
    std::optional<python::SystemPath> plain_;
    python::Ref object_;
    bool may_have_changed_ = false;  // what the fast path leaves out, since it was last asked for
};

}  // namespace tarnel::skill
