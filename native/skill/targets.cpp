#include "skill/targets.hpp"

#include "core/paths.hpp"
#include "core/utf8.hpp"
#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

// The result of `_scope_base(scope, project_root)`.
struct Base {
    core::PathText text;
    Ref argument;  // for creating the path object: the project root or the current directory; null for the home
};

bool join(core::PathText& path, PyObject* component) {
    const auto utf8 = python::utf8_of(component);
    if (utf8) path.join(*utf8);
    return utf8.has_value();
}

std::optional<Base> home_base(std::string_view home) {
    if (home.starts_with('~')) return {};
    home.remove_suffix(home.size() - (home.find_last_not_of('/') + 1));
    Base base;
    base.text.join(home.empty() ? "/" : home);
    return base;
}

// `Path.home()`, if HOME is set and doesn't begin with a tilde.
std::optional<Base> home_base(const CallContext& context) {
    const Ref variable = context.standard_library().home_variable();
    if (variable.get() == nullptr) return {};
    const std::string_view encoded(PyBytes_AS_STRING(variable.get()),
                                   static_cast<std::size_t>(PyBytes_GET_SIZE(variable.get())));
    if (core::is_ascii(encoded)) return home_base(encoded);
    const Ref decoded =
        checked(PyUnicode_DecodeFSDefaultAndSize(PyBytes_AS_STRING(variable.get()), PyBytes_GET_SIZE(variable.get())));
    const auto home = python::utf8_of(decoded);
    return home ? home_base(*home) : std::nullopt;
}

// `Path(project_root)`, for a str or a path object.
std::optional<Base> root_base(const CallContext& context, PyObject* project_root) {
    Base base{{}, Ref::borrow(project_root)};
    if (PyUnicode_CheckExact(project_root))
        return join(base.text, project_root) ? std::optional(std::move(base)) : std::nullopt;
    if (!Py_IS_TYPE(project_root, context.standard_library().posix_path_type())) return {};
    const Ref components = python::attribute_in_slot(project_root, context[name::_raw_paths]);
    if (components.get() == nullptr || !PyList_CheckExact(components.get())) return {};
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(components.get()); i++)
        if (!join(base.text, PyList_GET_ITEM(components.get(), i))) return {};
    return base;
}

bool is_given(PyObject* project_root) { return !is_none(project_root) && !python::is_empty_text(project_root); }

std::optional<Base> plain_base(const CallContext& context, PyObject* scope, PyObject* project_root) {
    if (!context.is_own(name::_scope_base, function::_scope_base.body)) return {};
    PyObject* path_type = context.global_if_plain(name::Path);
    if (path_type == nullptr || !context.standard_library().has_original_paths(path_type)) return {};
    if (python::is_same_text(scope, context[literal::user])) return home_base(context);
    if (!python::is_same_text(scope, context[literal::project])) return {};
    if (is_given(project_root)) return root_base(context, project_root);
    const Ref current = python::call(context.standard_library().getcwd(), {});
    return root_base(context, current);
}

// With more components, Python may reach the recursion limit when it creates the directories.
constexpr std::size_t most_components = 200;

std::optional<python::SystemPath> plain_path(const CallContext& context, PyObject* scope, PyObject* project_root,
                                             PyObject* skill_name, PyObject* skills_dir) {
    if (!context.is_own(name::skill_target_path, function::skill_target_path.body) ||
        !PyUnicode_CheckExact(skill_name) || !PyUnicode_CheckExact(skills_dir))
        return {};
    std::optional<Base> base = plain_base(context, scope, project_root);
    if (!base) return {};
    for (PyObject* component : {skills_dir, skill_name, context[literal::document_file]})
        if (!join(base->text, component)) return {};
    if (base->text.size() > most_components) return {};
    return python::SystemPath::of(base->text.text());
}

}  // namespace

Target::Target(const CallContext& context, PyObject* scope, PyObject* project_root, PyObject* skill_name,
               PyObject* skills_dir)
    : context_(context), plain_(plain_path(context, scope, project_root, skill_name, skills_dir)) {
    // os.getcwd() lets other threads run.
    may_have_changed_ = !is_given(project_root) && !python::is_same_text(scope, context[literal::user]);
    if (!plain_) object_ = context.call(name::skill_target_path, {scope, project_root, skill_name, skills_dir});
}

const python::SystemPath* Target::plain() {
    if (may_have_changed_ && plain_ && !context_.standard_library().paths_hold()) make_object();
    may_have_changed_ = true;
    return plain_ ? &*plain_ : nullptr;
}

PyObject* Target::object() {
    if (plain_) make_object();
    return object_;
}

void Target::make_object() {
    auto* type = reinterpret_cast<PyObject*>(context_.standard_library().posix_path_type());
    if (plain_) object_ = python::call(type, {plain_->text()});
    plain_.reset();
}

bool Target::exists() {
    if (const python::SystemPath* path = plain()) return python::exists(*path);
    const Ref is_there = context_.call_method(object(), name::exists);
    return is_true(is_there);
}

Ref Target::text() {
    if (plain_ && context_.standard_library().paths_still_hold()) return Ref::borrow(plain_->text());
    return checked(PyObject_Str(object()));
}

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

// The fast path of `skill_target_path`; null if it doesn't apply.
Ref plain_object(const CallContext& context, PyObject* scope, PyObject* project_root, PyObject* skill_name,
                 PyObject* skills_dir) {
    if (!PyUnicode_CheckExact(skill_name) || !PyUnicode_CheckExact(skills_dir)) return {};
    std::optional<Base> base = plain_base(context, scope, project_root);
    if (!base) return {};
    if (base->argument.get() == nullptr) base->argument = python::text_of(base->text.text());
    auto* type = reinterpret_cast<PyObject*>(context.standard_library().posix_path_type());
    return context.call(type, {base->argument, skills_dir, skill_name, context[literal::document_file]});
}

Ref skill_target_path(const CallContext& context) {
    const auto [scope, project_root, skill_name, skills_dir] = context.arguments<4>();
    if (Ref path = plain_object(context, scope, project_root, skill_name, skills_dir); path.get() != nullptr)
        return path;
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
