// Status: what is installed in every directory that the agents read.
#include "skill/body.hpp"
#include "skill/planning.hpp"
#include "skill/result.hpp"
#include "skill/roots.hpp"
#include "skill/stamps.hpp"

namespace tarnel::skill {

namespace {

Ref _reading_agents(const CallContext& context) {
    const auto [skills_dir, agent_roots] = context.arguments<2>();
    const Ref readers = readers_of(context, skills_dir, agent_roots);
    return checked(PyList_AsTuple(readers));
}

}  // namespace

constinit const python::Definition function::_reading_agents = {
    .name = "_reading_agents",
    .parameters = {{"skills_dir", "str"}, {"agent_roots", "dict[str, tuple[str, ...]]"}},
    .returns = "tuple[str, ...]",
    .doc = "Requested agents that read a directory (not just those it was chosen for).",
    .body = skill::_reading_agents,
};

namespace {

Ref note_on(const CallContext& context, PyObject* version) {
    if (!is_true(version)) return Ref::borrow(context[literal::not_installed]);
    const Ref outdated = compare_with_package(context, version, Py_LT);
    Ref note = joined({"v", version});
    if (!is_true(outdated)) return note;
    const Ref package_version = context.global(name::package_version);
    return joined({note.get(), " (update available: v", package_version.get(), ")"});
}

// The report for one scope.
class ScopeStatus {
  public:
    ScopeStatus(const CallContext& context, PyObject* scope, PyObject* agents)
        : context_(context), scope_(scope), roots_(agent_roots(context, agents, scope)) {
        const Ref chosen = chosen_directories(context, agents, scope, roots_);
        targets_ = checked(PySet_New(chosen));
    }

    void append_to(PyObject* results, PyObject* project_root) {
        const Ref directories = distinct_directories(context_, roots_.mapping);
        readers_ = checked(PyDict_New());
        if (!roots_.would_be_the_same_again || !add_readers(readers_, directories, roots_.mapping)) readers_ = Ref();
        for (const Ref& directory : Iteration(directories)) {
            const Ref templates = context_.global(name::SKILL_TEMPLATES);
            for (const Ref& skill_name : Iteration(templates))
                append_skill(results, project_root, directory, skill_name);
        }
    }

  private:
    // `_reading_agents(directory, agent_roots)`
    [[nodiscard]] Ref reading_agents(PyObject* directory) {
        if (!context_.is_own(name::_reading_agents, _reading_agents))
            readers_ = Ref();  // the replacement may change the agent roots
        if (readers_.get() != nullptr) return checked(PyList_AsTuple(PyDict_GetItemWithError(readers_, directory)));
        return context_.call(name::_reading_agents, _reading_agents, {directory, roots_.mapping});
    }

    void append_skill(PyObject* results, PyObject* project_root, PyObject* directory, PyObject* skill_name) {
        Target target(context_, scope_, project_root, skill_name, directory);
        const Ref version = installed_version(context_, target);
        if (is_none(version) && !contains(targets_, directory)) return;
        const Ref note = note_on(context_, version);
        const Record record(context_, scope_, target);
        const Ref readers = reading_agents(directory);
        const Ref result = record.finish(Outcome::unchanged, note, readers);
        checked(PyList_Append(results, result));
    }

    const CallContext& context_;
    PyObject* scope_;
    AgentRoots roots_;
    Ref readers_;  // lists by directory; null once foreign code may have seen the agent roots
    Ref targets_;
};

Ref skill_status(const CallContext& context) {
    const auto [project_root, agents] = context.arguments<2>();
    Ref results = checked(PyList_New(0));
    for (const python::StringId scope : {literal::user, literal::project})
        ScopeStatus(context, context[scope], agents).append_to(results, project_root);
    return results;
}

}  // namespace

constinit const python::Definition function::skill_status = {
    .name = "skill_status",
    .parameters = {{"project_root", "Path | None", python::none_by_default},
                   {"agents", "Iterable[str]", python::value_of("DEFAULT_AGENTS"), python::Passing::keyword_only}},
    .returns = "list[SkillResult]",
    .doc = R"(Installed skill versions across every directory these agents read.

    Reports the directories an install would write, plus any *other* directory an
    agent reads that already holds a skill. That second class is the interesting
    one: Cursor reads `~/.claude/skills`, so a copy installed there for Claude is
    live for Cursor too — listing only Cursor's own directory would report "not
    installed" for a skill the agent is loading right now, and invite a duplicate.
    )",
    .body = skill::skill_status,
};

}  // namespace tarnel::skill
