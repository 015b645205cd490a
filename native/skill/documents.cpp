// The skill documents, stamped with a version.
#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

Ref render_skill_md(const CallContext& context) {
    const auto [version, skill_name] = context.arguments<2>();
    const Ref templates = context.global(name::SKILL_TEMPLATES);
    const Ref text = checked(PyObject_GetItem(templates, skill_name));
    return context.call_method(text, name::format, {}, {{name::version, version}});
}

}  // namespace

constinit const python::Definition function::render_skill_md = {
    .name = "render_skill_md",
    .parameters = {{"version", "str", python::value_of("__version__")},
                   {"skill_name", "str", python::value_of("SKILL_DIR_NAME")}},
    .returns = "str",
    .doc = "The SKILL.md content stamped with the given package version.",
    .body = skill::render_skill_md,
};

}  // namespace tarnel::skill
