#include "skill/result.hpp"

#include "python/instances.hpp"
#include "python/objects.hpp"
#include "skill/names.hpp"
#include "skill/recognized.hpp"

namespace tarnel::skill {

using python::CallContext;
using python::checked;
using python::Namespace;
using python::Ref;

namespace {

struct Field {
    const char* name;
    const char* annotation;
};
constexpr Field fields[] = {{"success", "bool"}, {"scope", "str"},      {"path", "str"},
                            {"message", "str"},  {"installed", "bool"}, {"agents", "tuple[str, ...]"}};

// The namespace that the class body would create, in binding order.
Ref class_namespace(Namespace& module) {
    Ref names = checked(PyDict_New());
    const auto set = [&](const char* name, PyObject* value) {
        checked(PyDict_SetItem(names, module.literal(name), value));
    };
    const Ref module_name = module["__name__"];
    set("__module__", module_name);
    set("__doc__", module.literal("Outcome of a skill install/status operation."));
    set("__qualname__", module.literal("SkillResult"));
    const Ref annotations = checked(PyDict_New());
    for (const auto& [name, annotation] : fields)
        checked(PyDict_SetItem(annotations, module.literal(name), module.literal(annotation)));
    set("__annotations__", annotations);
    set("installed", Py_False);
    const Ref no_agents = checked(PyTuple_New(0));
    set("agents", no_agents);
    return names;
}

Ref names_of(Namespace& module, std::initializer_list<const char*> literals) {
    Ref names = checked(PyTuple_New(static_cast<Py_ssize_t>(literals.size())));
    Py_ssize_t index = 0;
    for (const char* literal : literals) PyTuple_SET_ITEM(names.get(), index++, Py_NewRef(module.literal(literal)));
    return names;
}

}  // namespace

void define_skill_result(Namespace& module) {
    const Ref names = class_namespace(module);
    const Ref no_bases = checked(PyTuple_New(0));
    const Ref undecorated =
        python::call(reinterpret_cast<PyObject*>(&PyType_Type), {module.literal("SkillResult"), no_bases, names});
    const Ref dataclass = module["dataclass"];
    const Ref decorated = python::call(dataclass, {undecorated});
    module.bind("SkillResult", decorated);
}

void add_result_keywords(Namespace& module, std::vector<Ref>& recognized) {
    recognized.push_back(names_of(module, {"success", "scope", "path", "message", "agents"}));
    recognized.push_back(names_of(module, {"success", "scope", "path", "message", "installed", "agents"}));
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

}  // namespace tarnel::skill
