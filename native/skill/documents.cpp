// The skill documents, stamped with a version.
#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

Ref render_skill_md(const Frame& frame) {
    const auto [version, skill_name] = frame.arguments<2>();
    const Ref templates = frame.global(name::SKILL_TEMPLATES);
    const Ref text = checked(PyObject_GetItem(templates, skill_name));
    return frame.call_method(text, name::format, {}, {{name::version, version}});
}

}  // namespace

namespace function {

constinit const python::Definition render_skill_md = {
    .name = "render_skill_md",
    .parameters = {{"version", "str", python::value_of("__version__")},
                   {"skill_name", "str", python::value_of("SKILL_DIR_NAME")}},
    .returns = "str",
    .doc = "The SKILL.md content stamped with the given package version.",
    .body = skill::render_skill_md,
};

}  // namespace function

}  // namespace tarnel::skill
