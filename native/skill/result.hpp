// SkillResult, the record of one operation's outcome.
#pragma once

#include "python/call_context.hpp"
#include "skill/targets.hpp"

namespace tarnel::skill {

// Makes the class, a data class, over `globals`, the module's namespace, and binds it there.
void define_skill_result(PyObject* globals);

enum class Outcome { failed, unchanged, written };

// A record in the making, for a document's path. As in the call `SkillResult(..., path=str(path), message=...)`, the
// class and the path's text come before whatever the other fields take.
class Record {
  public:
    Record(const python::CallContext& context, PyObject* scope, Target& target);

    // `message` is a str; `agents` any object.
    [[nodiscard]] python::Ref finish(Outcome outcome, PyObject* message, PyObject* agents) const;

  private:
    const python::CallContext& context_;
    PyObject* scope_;
    python::Ref class_;
    python::Ref path_;
};

}  // namespace tarnel::skill
