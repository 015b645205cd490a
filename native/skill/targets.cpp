// Where a skill's document lives.
#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

Ref _scope_base(const CallContext& context) {
    const auto [scope, project_root] = context.arguments<2>();
    if (compare(scope, context[literal::user], Py_EQ)) {
        const Ref path_type = context.global(name::Path);
        return context.call_method(path_type, name::home);
    }
    if (compare(scope, context[literal::project], Py_EQ)) {
        const Ref path_type = context.global(name::Path);
        if (is_true(project_root)) return context.call(path_type, {project_root});
        const Ref path_type_again = context.global(name::Path);  // as `Path(project_root or Path.cwd())` does
        const Ref current = context.call_method(path_type_again, name::cwd);
        return context.call(path_type, {current});
    }
    PyErr_Format(PyExc_ValueError, "unknown skill scope: %R (use 'user' or 'project')", scope);
    throw PythonError{};
}

}  // namespace

constinit const python::Definition function::_scope_base = {
    .name = "_scope_base",
    .parameters = {{"scope", "str"}, {"project_root", "Path | None", python::none_by_default}},
    .returns = "Path",
    .doc = "Root that a scope's skill directories are relative to.",
    .body = skill::_scope_base,
};

namespace {

Ref skill_target_path(const CallContext& context) {
    const auto [scope, project_root, skill_name, skills_dir] = context.arguments<4>();
    Ref path = context.call(name::_scope_base, {scope, project_root});
    for (PyObject* component : {skills_dir, skill_name, context[literal::document_file]})
        path = checked(PyNumber_TrueDivide(path, component));
    return path;
}

}  // namespace

constinit const python::Definition function::skill_target_path = {
    .name = "skill_target_path",
    .parameters = {{"scope", "str"},
                   {"project_root", "Path | None", python::none_by_default},
                   {"skill_name", "str", python::value_of("SKILL_DIR_NAME")},
                   {"skills_dir", "str", python::literal(".claude/skills")}},
    .returns = "Path",
    .doc = R"(Where one skill lives, under one agent's skills directory.

    The directory name IS the skill's identity: Claude Code derives the command
    name from it, and Cursor requires it to equal the frontmatter ``name``.
    )",
    .body = skill::skill_target_path,
};

}  // namespace tarnel::skill
