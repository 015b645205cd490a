// Chooses directories so that every agent finds each skill, through a single directory if possible.
#include "skill/planning.hpp"

#include "python/thread.hpp"
#include "skill/body.hpp"
#include "skill/planning_table.hpp"
#include "skill/roots.hpp"

namespace tarnel::skill {

Ref score_alias() {
    auto* tuple = reinterpret_cast<PyObject*>(&PyTuple_Type);
    auto* integer = reinterpret_cast<PyObject*>(&PyLong_Type);
    const Ref str_items = python::tuple_of({reinterpret_cast<PyObject*>(&PyUnicode_Type), Py_Ellipsis});
    const Ref str_tuple = checked(PyObject_GetItem(tuple, str_items));
    const Ref items = python::tuple_of({integer, integer, integer, str_tuple});
    return checked(PyObject_GetItem(tuple, items));
}

namespace {

// One agent's view of a selection of directories.
struct Sightings {
    Py_ssize_t count = 0;
    Py_ssize_t first = 0;  // the position of the first selected directory in the agent's list
};

Sightings sightings(PyObject* directories, PyObject* chosen) {
    Sightings seen;
    Py_ssize_t position = 0;
    for (const Ref& directory : Iteration(directories)) {
        if (contains(chosen, directory) && seen.count++ == 0) seen.first = position;
        position++;
    }
    return seen;
}

Ref _score(const CallContext& context) {
    const auto [selection, agent_roots] = context.arguments<2>();
    const Ref chosen = checked(PySet_New(selection));
    Py_ssize_t duplicates = 0;
    Py_ssize_t native_rank = 0;
    const Ref tuples = context.call_method(agent_roots, name::values);
    for (const Ref& directories : Iteration(tuples)) {
        const Sightings seen = sightings(directories, chosen);
        if (seen.count == 0) return none();
        duplicates += seen.count - 1;
        native_rank += seen.first;
    }
    const Ref size = integer(checked(PyObject_Size(selection)));
    const Ref repeated = integer(duplicates);
    const Ref rank = integer(native_rank);
    return python::tuple_of({repeated, rank, size, selection});
}

}  // namespace

constinit const python::Definition function::_score = {
    .name = "_score",
    .parameters = {{"selection", "tuple[str, ...]"}, {"agent_roots", "dict[str, tuple[str, ...]]"}},
    .returns = "_Score | None",
    .doc = R"(Rank a candidate directory set. Lower is better; None if it misses an agent.

    Ordered by:

    1. Fewest agents that would discover the skill from two directories at once.
    2. Most-native directories — an agent's own root beats a compatibility root,
       so a Cursor-only install lands in ``.cursor/skills`` rather than in a
       ``.claude/`` directory belonging to an agent nobody here uses.
    3. Fewest directories, then the paths themselves, so the result is stable.
    )",
    .body = skill::_score,
};

namespace {

bool contains_any(PyObject* container, PyObject* items) {
    for (const Ref& item : Iteration(items))
        if (contains(container, item)) return true;
    return false;
}

// The greedy choice, without scores: each agent's native directory, unless the agent already finds the skill.
Ref quick_choice(const CallContext& context, PyObject* agent_roots) {
    const Ref chosen = checked(PyList_New(0));
    const Ref tuples = context.call_method(agent_roots, name::values);
    const Ref first = integer(0);
    for (const Ref& directories : Iteration(tuples)) {
        if (contains_any(chosen, directories)) continue;
        const Ref native = checked(PyObject_GetItem(directories, first));
        checked(PyList_Append(chosen, native));
    }
    const Ref distinct = checked(PySet_New(chosen));
    return sorted(distinct);
}

// The selection with the best score among all subsets of the candidates. Takes and returns a sorted list.
Ref best_choice(const CallContext& context, PyObject* candidates, PyObject* agent_roots) {
    Ref best = none();
    Ref best_selection = checked(PyList_New(0));
    const Py_ssize_t count = PyList_GET_SIZE(candidates);
    for (Py_ssize_t size = 1; size <= count; size++) {
        const Ref itertools = context.global(name::itertools);
        const Ref size_object = integer(size);
        const Ref selections = context.call_method(itertools, name::combinations, {candidates, size_object});
        for (const Ref& selection : Iteration(selections)) {
            checked(PyErr_CheckSignals());  // with large tables, the user may want to interrupt this
            Ref score = context.call(name::_score, {selection, agent_roots});
            if (is_none(score)) continue;
            if (!is_none(best) && !compare(score, best, Py_LT)) continue;
            best = std::move(score);
            best_selection = checked(PySequence_List(selection));
        }
    }
    return sorted(best_selection);
}

// Lets other threads and signal handlers run. A handler may end the search.
void interrupt_search() {
    {
        const python::ReleasedGil released;
    }
    checked(PyErr_CheckSignals());
}

// The fast path of the choice; null if it doesn't apply. Uses numbers for directories, and a search that prunes
// selections that can't win.
Ref choose_natively(const CallContext& context, PyObject* agent_roots) {
    PyObject* limit = context.global_if_plain(name::exhaustive_search_limit);
    if (limit == nullptr || !PyLong_CheckExact(limit)) return {};
    auto table = PlanningTable::of(agent_roots);
    if (!table) return {};
    const Ref count = integer(table->candidates());
    if (compare(count, limit, Py_GT))
        return table->list_of(core::quick_selection(table->agents(), table->candidates()));
    PyObject* itertools = context.global_if_plain(name::itertools);
    if (table->candidates() > core::max_candidates || itertools == nullptr ||
        !context.is_own(name::_score, skill::_score) ||
        !context.standard_library().has_original_combinations(itertools))
        return {};
    table->sort_candidates();
    return table->list_of(core::best_selection(table->agents(), table->candidates(), interrupt_search));
}

Ref choose(const CallContext& context, PyObject* agent_roots) {
    if (!is_true(agent_roots)) return checked(PyList_New(0));
    if (Ref chosen = choose_natively(context, agent_roots); chosen.get() != nullptr) return chosen;
    const Ref candidates = distinct_directories(context, agent_roots);
    const Ref count = integer(PyList_GET_SIZE(candidates.get()));
    const Ref limit = context.global(name::exhaustive_search_limit);
    if (compare(count, limit, Py_GT)) return quick_choice(context, agent_roots);
    return best_choice(context, candidates, agent_roots);
}

Ref resolve_skill_dirs(const CallContext& context) {
    const auto [agent_keys, scope] = context.arguments<2>();
    const AgentRoots roots = agent_roots(context, agent_keys, scope);
    return choose(context, roots.mapping);
}

}  // namespace

Ref chosen_directories(const CallContext& context, PyObject* agent_keys, PyObject* scope, const AgentRoots& roots) {
    if (!context.is_own(name::resolve_skill_dirs, skill::resolve_skill_dirs))
        return context.call(name::resolve_skill_dirs, {agent_keys, scope});
    if (roots.would_be_the_same_again) return choose(context, roots.mapping);
    return context.run(skill::resolve_skill_dirs, {agent_keys, scope});
}

constinit const python::Definition function::resolve_skill_dirs = {
    .name = "resolve_skill_dirs",
    .parameters = {{"agent_keys", "Iterable[str]"}, {"scope", "str", python::literal("project")}},
    .returns = "list[str]",
    .doc = R"(The directories to install skills into so each agent discovers them once.

    Agents share skill roots: Cursor and Copilot both read ``.claude/skills``,
    which Claude Code also (only) reads. So the naive one-directory-per-agent
    install puts the same skill somewhere two agents can both see it, and they
    surface it twice.

    Pick the directory set where no agent sees the skill twice, preferring each
    agent's native root, then the fewest directories. With Claude configured,
    that collapses to ``.claude/skills`` — which Cursor and Copilot read too —
    plus ``.windsurf/skills``, because Windsurf's read of ``.claude/skills`` is
    behind a settings gate we cannot see (a duplicate there is visible and
    name-deduped; a miss would be silent).

    Returned paths are relative to the project root, or to the home directory
    when ``scope="user"``.
    )",
    .body = skill::resolve_skill_dirs,
};

namespace {

Ref skill_dir_plan(const CallContext& context) {
    const auto [agent_keys, scope] = context.arguments<2>();
    const AgentRoots roots = agent_roots(context, agent_keys, scope);
    Ref plan = checked(PyDict_New());
    const Ref chosen = chosen_directories(context, agent_keys, scope, roots);
    if (add_readers(plan, chosen, roots.mapping)) return plan;
    for (const Ref& directory : Iteration(chosen)) {
        const Ref readers = readers_of(context, directory, roots.mapping);
        checked(PyDict_SetItem(plan, directory, readers));
    }
    return plan;
}

}  // namespace

constinit const python::Definition function::skill_dir_plan = {
    .name = "skill_dir_plan",
    .parameters = {{"agent_keys", "Iterable[str]"}, {"scope", "str", python::literal("project")}},
    .returns = "dict[str, list[str]]",
    .doc = "Which agents each chosen directory serves — for install output and tests.",
    .body = skill::skill_dir_plan,
};

}  // namespace tarnel::skill
