// SkillResult, which records the outcome of one operation.
#pragma once

#include <vector>

#include "python/call_context.hpp"
#include "python/namespace.hpp"
#include "skill/targets.hpp"

namespace tarnel::skill {

// Creates the data class and binds it in the module.
void define_skill_result(python::Namespace& module);

// Adds the tuples of keywords that a Record passes to the objects that native bodies recognise.
void add_result_keywords(python::Namespace& module, std::vector<python::Ref>& recognized);

enum class Outcome { failed, unchanged, written };

// Builds the SkillResult for a document's path. As in the call `SkillResult(..., path=str(path), message=...)`, looks
// up the class and the path's text before the values of later fields are computed.
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
