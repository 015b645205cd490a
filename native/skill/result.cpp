#include "skill/result.hpp"

#include "python/instances.hpp"
#include "skill/names.hpp"
#include "skill/recognized.hpp"

namespace tarnel::skill {

using python::CallContext;
using python::checked;
using python::Ref;

namespace {

struct Field {
    const char* name;
    const char* annotation;
};
constexpr Field fields[] = {{"success", "bool"}, {"scope", "str"},      {"path", "str"},
                            {"message", "str"},  {"installed", "bool"}, {"agents", "tuple[str, ...]"}};

void set(PyObject* mapping, const char* key, PyObject* value) { checked(PyDict_SetItemString(mapping, key, value)); }

void set_text(PyObject* mapping, const char* key, const char* text) {
    const Ref value = checked(PyUnicode_InternFromString(text));
    set(mapping, key, value);
}

// What the class's body would leave: its names in order of their binding.
Ref class_namespace(PyObject* globals) {
    Ref names = checked(PyDict_New());
    const Ref module_name = python::look_up(globals, "__name__");
    set(names, "__module__", module_name);
    set_text(names, "__doc__", "Outcome of a skill install/status operation.");
    set_text(names, "__qualname__", "SkillResult");
    const Ref annotations = checked(PyDict_New());
    for (const auto& [name, annotation] : fields) set_text(annotations, name, annotation);
    set(names, "__annotations__", annotations);
    set(names, "installed", Py_False);
    const Ref no_agents = checked(PyTuple_New(0));
    set(names, "agents", no_agents);
    return names;
}

}  // namespace

void define_skill_result(PyObject* globals) {
    const Ref names = class_namespace(globals);
    const Ref undecorated =
        checked(PyObject_CallFunction(reinterpret_cast<PyObject*>(&PyType_Type), "s()O", "SkillResult", names.get()));
    const Ref dataclass = python::look_up(globals, "dataclass");
    const Ref decorated = checked(PyObject_CallOneArg(dataclass, undecorated));
    set(globals, "SkillResult", decorated);
}

Record::Record(const CallContext& context, PyObject* scope, Target& target)
    : context_(context), scope_(scope), class_(context.global(name::SkillResult)), path_(target.text()) {}

Ref Record::finish(Outcome outcome, PyObject* message, PyObject* agents) const {
    PyObject* success = outcome == Outcome::failed ? Py_False : Py_True;
    if (outcome == Outcome::written)
        return python::new_instance(class_, {success, scope_, path_, message, Py_True, agents},
                                    context_.recognized(recognized::result_keywords_if_installed),
                                    context_[name::init]);
    return python::new_instance(class_, {success, scope_, path_, message, agents},
                                context_.recognized(recognized::result_keywords), context_[name::init]);
}

void add_result_keywords(std::vector<Ref>& recognized) {
    recognized.push_back(checked(Py_BuildValue("(sssss)", "success", "scope", "path", "message", "agents")));
    recognized.push_back(
        checked(Py_BuildValue("(ssssss)", "success", "scope", "path", "message", "installed", "agents")));
    for (const std::size_t index : {recognized::result_keywords, recognized::result_keywords_if_installed}) {
        PyObject* names = recognized[index];
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(names); i++)
            PyUnicode_InternInPlace(&reinterpret_cast<PyTupleObject*>(names)->ob_item[i]);
    }
}

}  // namespace tarnel::skill
