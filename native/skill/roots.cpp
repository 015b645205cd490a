// Which agents can take skills, and where each of them reads skills: the only reader of the host's agent table.
#include "skill/roots.hpp"

#include "skill/body.hpp"

namespace tarnel::skill {

Ref distinct_keys(const Frame& frame, PyObject* agent_keys) {
    auto* dict_type = reinterpret_cast<PyObject*>(&PyDict_Type);
    return frame.call_method(dict_type, name::fromkeys, {agent_keys});
}

Ref distinct_directories(const Frame& frame, PyObject* agent_roots) {
    const Ref distinct = checked(PySet_New(nullptr));
    const Ref tuples = frame.call_method(agent_roots, name::values);
    for (const Ref& directories : Iteration(tuples))
        for (const Ref& directory : Iteration(directories)) checked(PySet_Add(distinct, directory));
    return sorted(distinct);
}

Ref readers_of(const Frame& frame, PyObject* directory, PyObject* agent_roots) {
    Ref readers = checked(PyList_New(0));
    const Ref pairs = frame.call_method(agent_roots, name::items);
    for (const Ref& pair : Iteration(pairs)) {
        const auto [key, directories] = unpack_pair(pair);
        if (contains(directories, directory)) checked(PyList_Append(readers, key));
    }
    return readers;
}

namespace {

Ref skill_capable_agents(const Frame& frame) {
    Ref keys = checked(PyList_New(0));
    const Ref table = frame.global(name::AGENT_CONFIG);
    const Ref rows = frame.call_method(table, name::items);
    for (const Ref& row : Iteration(rows)) {
        const auto [key, record] = unpack_pair(row);
        const Ref directories = frame.attribute(record, name::skills_project_roots);
        if (is_true(directories)) checked(PyList_Append(keys, key));
    }
    return keys;
}

Ref _agent_roots(const Frame& frame) {
    const auto [agent_keys, scope] = frame.arguments<2>();
    Ref roots = checked(PyDict_New());
    const Ref keys = distinct_keys(frame, agent_keys);
    for (const Ref& key : Iteration(keys)) {
        const Ref table = frame.global(name::AGENT_CONFIG);
        const Ref record = frame.call_method(table, name::get, {key});
        if (is_none(record)) continue;
        const bool at_user_scope = compare(scope, frame[literal::user], Py_EQ);
        const Ref directories =
            frame.attribute(record, at_user_scope ? name::skills_user_roots : name::skills_project_roots);
        if (is_true(directories)) checked(PyDict_SetItem(roots, key, directories));
    }
    return roots;
}

}  // namespace

namespace function {

constinit const python::Definition skill_capable_agents = {
    .name = "skill_capable_agents",
    .parameters = {},
    .returns = "list[str]",
    .doc = "Agent keys with at least one verified skills directory.",
    .body = skill::skill_capable_agents,
};

constinit const python::Definition _agent_roots = {
    .name = "_agent_roots",
    .parameters = {{"agent_keys", "Iterable[str]"}, {"scope", "str"}},
    .returns = "dict[str, tuple[str, ...]]",
    .doc = R"(Skill-discovery roots per requested agent, for one scope.

    Unknown keys and agents with no verified root for the scope are dropped.
    )",
    .body = skill::_agent_roots,
};

}  // namespace function

}  // namespace tarnel::skill
