// Shadowing: skills that some agent finds at both user scope and project scope.
#include "skill/body.hpp"
#include "skill/roots.hpp"
#include "skill/targets.hpp"

namespace tarnel::skill {

namespace {

// The directories that agents read at one scope, and whether a skill is installed in them.
class ScopeCopies {
  public:
    ScopeCopies(const CallContext& context, PyObject* scope, PyObject* agents, PyObject* project_root)
        : context_(context),
          scope_(scope),
          project_root_(project_root),
          agent_roots_(context.call(name::_agent_roots, function::_agent_roots.body, {agents, scope})) {}

    [[nodiscard]] bool hold(PyObject* skill_name, PyObject* agent) const {
        const Ref nothing = checked(PyTuple_New(0));
        const Ref directories = context_.call_method(agent_roots_, name::get, {agent, nothing});
        for (const Ref& directory : Iteration(directories)) {
            Target target(context_, scope_, project_root_, skill_name, directory);
            if (target.exists()) return true;
        }
        return false;
    }

  private:
    const CallContext& context_;
    PyObject* scope_;
    PyObject* project_root_;
    Ref agent_roots_;
};

bool is_shadowed(PyObject* skill_name, PyObject* agents, const ScopeCopies& user, const ScopeCopies& project) {
    for (const Ref& agent : Iteration(agents))
        if (user.hold(skill_name, agent) && project.hold(skill_name, agent)) return true;
    return false;
}

Ref shadowed_skills(const CallContext& context) {
    const auto [project_root, agents] = context.arguments<2>();
    const Ref distinct = distinct_keys(context, agents);
    const Ref keys = checked(PySequence_List(distinct));
    const ScopeCopies user(context, context[literal::user], keys, project_root);
    const ScopeCopies project(context, context[literal::project], keys, project_root);
    Ref shadowed = checked(PyList_New(0));
    const Ref templates = context.global(name::SKILL_TEMPLATES);
    for (const Ref& skill_name : Iteration(templates))
        if (is_shadowed(skill_name, keys, user, project)) checked(PyList_Append(shadowed, skill_name));
    return shadowed;
}

}  // namespace

constinit const python::Definition function::shadowed_skills = {
    .name = "shadowed_skills",
    .parameters = {{"project_root", "Path | None", python::none_by_default},
                   {"agents", "Iterable[str]", python::value_of("DEFAULT_AGENTS"), python::Passing::keyword_only}},
    .returns = "list[str]",
    .doc = R"(Skills an agent would load from user scope while a project copy also exists.

    Claude Code gives personal skills precedence over project ones, so a stale
    user-scope copy silently shadows the project copy this repo just installed —
    the project skill looks installed and never runs. Worth saying out loud.

    Shadowing is a property of an AGENT, not of a path: it happens whenever *any*
    directory an agent reads at user scope and *any* directory it reads at project
    scope both hold the same skill name. Windsurf and Copilot use different roots
    per scope (`~/.codeium/windsurf/skills` vs `.windsurf/skills`), and Cursor's
    user-scope read of `~/.claude/skills` collides with its project-scope
    `.cursor/skills` — so comparing directory names finds none of those.
    )",
    .body = skill::shadowed_skills,
};

}  // namespace tarnel::skill
