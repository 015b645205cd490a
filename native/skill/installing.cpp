// Installing: one skill into one directory, and every skill into every planned directory.
#include "python/handling.hpp"
#include "skill/body.hpp"
#include "skill/documents.hpp"
#include "skill/result.hpp"
#include "skill/stamps.hpp"

namespace tarnel::skill {

namespace {

bool is_current(const CallContext& context, PyObject* existing) {
    const Ref same_or_newer = compare_with_package(context, existing, Py_GE);
    return is_true(same_or_newer);
}

// Describes the pending action.
Ref action_on(const CallContext& context, PyObject* existing, bool is_update) {
    const Ref update = is_update ? joined({"update v", existing}) : Ref();
    const Ref version = context.global(name::package_version);
    if (!is_update) return joined({"install v", version.get()});
    return joined({update.get(), " -> v", version.get()});
}

// Describes the completed action.
Ref success_of(const CallContext& context, bool is_update) {
    const Ref version = context.global(name::package_version);
    return joined({is_update ? "updated to v" : "installed v", version.get()});
}

// Whether creating either text has no observable effect.
bool are_plain_texts(const CallContext& context, PyObject* existing) {
    const PyObject* version = context.global_if_plain(name::package_version);
    return version != nullptr && PyUnicode_CheckExact(version) && (is_none(existing) || PyUnicode_CheckExact(existing));
}

void make_directory(const CallContext& context, Target& target) {
    if (const python::SystemPath* path = target.plain()) {
        python::make_directories(path->parent());
        return;
    }
    const Ref directory = context.attribute(target.object(), name::parent);
    static_cast<void>(
        context.call_method(directory, name::mkdir, {}, {{name::parents, Py_True}, {name::exist_ok, Py_True}}));
}

// Creates the skill's directory and writes its document, in place.
void write_document(const CallContext& context, Target& target, PyObject* skill_name) {
    make_directory(context, target);
    if (const python::SystemPath* path = target.plain(); path != nullptr && context.standard_library().codec_holds()) {
        if (const auto document = rendered_in_utf8(context, skill_name)) {
            python::write_text(*path, *document);
            return;
        }
    }
    const Ref write_text = context.attribute(target.object(), name::write_text);
    const Ref text = context.call(name::render_skill_md, {}, {{name::skill_name, skill_name}});
    static_cast<void>(context.call(write_text, {text}, {{name::encoding, context[literal::utf_8]}}));
}

Ref install_skill(const CallContext& context) {
    const auto [scope, project_root, force, dry_run, skill_name, skills_dir, agents] = context.arguments<7>();
    Target target(context, scope, project_root, skill_name, skills_dir);
    const Ref existing = target.exists() ? installed_version(context, target) : none();
    if (is_true(existing) && !is_true(force) && is_current(context, existing)) {
        const Record record(context, scope, target);
        const Ref message = joined({"already up to date (v", existing.get(), ")"});
        return record.finish(Outcome::unchanged, message, agents);
    }
    const bool is_update = is_true(existing);
    // Python creates both texts before it tests `dry_run`. Skip the unused one only if that can't be observed.
    const bool makes_both = (dry_run != Py_True && dry_run != Py_False) || !are_plain_texts(context, existing);
    const Ref action = makes_both || dry_run == Py_True ? action_on(context, existing, is_update) : Ref();
    const Ref success = makes_both || dry_run == Py_False ? success_of(context, is_update) : Ref();
    if (is_true(dry_run)) {
        const Record record(context, scope, target);
        const Ref message = joined({"would ", action.get(), " (dry run)"});
        return record.finish(Outcome::unchanged, message, agents);
    }
    try {
        write_document(context, target, skill_name);
    } catch (const PythonError&) {
        const python::Handling failure(PyExc_OSError);
        const Record record(context, scope, target);
        const Ref message = checked(PyUnicode_FromFormat("failed: %S", failure.error()));
        return record.finish(Outcome::failed, message, agents);
    }
    const Record record(context, scope, target);
    return record.finish(Outcome::written, success, agents);
}

}  // namespace

constinit const python::Definition function::install_skill = {
    .name = "install_skill",
    .parameters = {{"scope", "str", python::literal("user")},
                   {"project_root", "Path | None", python::none_by_default},
                   {"force", "bool", python::false_by_default, python::Passing::keyword_only},
                   {"dry_run", "bool", python::false_by_default, python::Passing::keyword_only},
                   {"skill_name", "str", python::value_of("SKILL_DIR_NAME"), python::Passing::keyword_only},
                   {"skills_dir", "str", python::literal(".claude/skills"), python::Passing::keyword_only},
                   {"agents", "tuple[str, ...]", python::empty_tuple_by_default, python::Passing::keyword_only}},
    .returns = "SkillResult",
    .doc = R"(Install (or upgrade) one embedded skill into one skills directory.

    An existing install is overwritten only when its stamped version is older
    than the running package (or ``force``); a same-or-newer install is left
    untouched so re-running init/install is always safe.
    )",
    .body = skill::install_skill,
};

namespace {

Ref install_skills(const CallContext& context) {
    const auto [scope, project_root, agents, force, dry_run] = context.arguments<5>();
    const Ref plan = context.call(name::skill_dir_plan, function::skill_dir_plan.body, {agents, scope});
    Ref results = checked(PyList_New(0));
    const Ref entries = context.call_method(plan, name::items);
    for (const Ref& entry : Iteration(entries)) {
        const auto [directory, keys] = unpack_pair(entry);
        const Ref templates = context.global(name::SKILL_TEMPLATES);
        for (const Ref& skill_name : Iteration(templates)) {
            const Ref install = context.global(name::install_skill);
            const Ref readers = checked(PySequence_Tuple(keys));
            const Ref result = context.is_own(install, skill::install_skill)
                                   ? context.run(skill::install_skill,
                                                 {scope, project_root, force, dry_run, skill_name, directory, readers})
                                   : context.call(install, {scope, project_root},
                                                  {{name::force, force},
                                                   {name::dry_run, dry_run},
                                                   {name::skill_name, skill_name},
                                                   {name::skills_dir, directory},
                                                   {name::agents, readers}});
            checked(PyList_Append(results, result));
        }
    }
    return results;
}

}  // namespace

constinit const python::Definition function::install_skills = {
    .name = "install_skills",
    .parameters = {{"scope", "str", python::literal("user")},
                   {"project_root", "Path | None", python::none_by_default},
                   {"agents", "Iterable[str]", python::value_of("DEFAULT_AGENTS"), python::Passing::keyword_only},
                   {"force", "bool", python::false_by_default, python::Passing::keyword_only},
                   {"dry_run", "bool", python::false_by_default, python::Passing::keyword_only}},
    .returns = "list[SkillResult]",
    .doc = R"(Install every embedded skill everywhere the given agents will find it.

    Real files are written into each resolved directory, not symlinks: Cursor
    only follows links whose target lives under ``.cursor``/``.claude``, VS Code
    rejects a linked skills directory as outside the workspace, and on Windows a
    junction inside a tracked tree cannot be committed and is a known hazard for
    destructive git operations.
    )",
    .body = skill::install_skills,
};

}  // namespace tarnel::skill
