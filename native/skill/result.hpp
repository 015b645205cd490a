// SkillResult, the record of one operation's outcome.
#pragma once

#include <vector>

#include "python/call_context.hpp"
#include "python/namespace.hpp"
#include "skill/targets.hpp"

namespace tarnel::skill {

// Makes the class, a data class, and binds it in the module.
void define_skill_result(python::Namespace& module);

// Adds the names of its fields, as a record gives them, to the objects that the bodies recognise.
void add_result_keywords(python::Namespace& module, std::vector<python::Ref>& recognized);

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
