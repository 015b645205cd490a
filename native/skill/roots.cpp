// Which agents can take skills, and where each of them reads skills: the only reader of the host's agent table.
#include "skill/roots.hpp"

#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

bool has_only_texts(PyObject* tuple) {
    if (!PyTuple_CheckExact(tuple)) return false;
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(tuple); i++)
        if (!PyUnicode_CheckExact(PyTuple_GET_ITEM(tuple, i))) return false;
    return true;
}

// `AGENT_CONFIG.get(key)`
Ref record_of(const CallContext& context, PyObject* key) {
    const Ref table = context.global(name::AGENT_CONFIG);
    if (!PyDict_CheckExact(table.get())) return context.call_method(table, name::get, {key});
    Ref record = python::item_if_any(table, key);
    return record.get() == nullptr ? none() : std::move(record);
}

}  // namespace

bool is_plain(PyObject* agent_roots) {
    if (!PyDict_CheckExact(agent_roots)) return false;
    PyObject* key = nullptr;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &directories) != 0;)
        if (!has_only_texts(directories)) return false;
    return true;
}

Ref distinct_keys(const CallContext& context, PyObject* agent_keys) {
    auto* dict_type = reinterpret_cast<PyObject*>(&PyDict_Type);
    return context.call_method(dict_type, name::fromkeys, {agent_keys});
}

Ref distinct_directories(const CallContext& context, PyObject* agent_roots) {
    const Ref distinct = checked(PySet_New(nullptr));
    const Ref tuples = context.call_method(agent_roots, name::values);
    for (const Ref& directories : Iteration(tuples))
        for (const Ref& directory : Iteration(directories)) checked(PySet_Add(distinct, directory));
    return sorted(distinct);
}

namespace {

// `text in texts`
bool contains_text(PyObject* texts, PyObject* text) {
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(texts); i++)
        if (python::is_same_text(PyTuple_GET_ITEM(texts, i), text)) return true;
    return false;
}

// The fast path of `readers_of`: fills the list, if the mapping is plain.
bool add_plain_readers(PyObject* readers, PyObject* directory, PyObject* agent_roots) {
    if (!PyUnicode_CheckExact(directory) || !is_plain(agent_roots)) return false;
    PyObject* key = nullptr;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &directories) != 0;)
        if (contains_text(directories, directory)) checked(PyList_Append(readers, key));
    return true;
}

}  // namespace

Ref readers_of(const CallContext& context, PyObject* directory, PyObject* agent_roots) {
    Ref readers = checked(PyList_New(0));
    if (add_plain_readers(readers, directory, agent_roots)) return readers;
    const Ref pairs = context.call_method(agent_roots, name::items);
    for (const Ref& pair : Iteration(pairs)) {
        const auto [key, directories] = unpack_pair(pair);
        if (contains(directories, directory)) checked(PyList_Append(readers, key));
    }
    return readers;
}

namespace {

Ref skill_capable_agents(const CallContext& context) {
    Ref keys = checked(PyList_New(0));
    const Ref table = context.global(name::AGENT_CONFIG);
    const Ref rows = context.call_method(table, name::items);
    for (const Ref& row : Iteration(rows)) {
        const auto [key, record] = unpack_pair(row);
        const Ref directories = context.attribute(record, name::skills_project_roots);
        if (is_true(directories)) checked(PyList_Append(keys, key));
    }
    return keys;
}

}  // namespace

constinit const python::Definition function::skill_capable_agents = {
    .name = "skill_capable_agents",
    .parameters = {},
    .returns = "list[str]",
    .doc = "Agent keys with at least one verified skills directory.",
    .body = skill::skill_capable_agents,
};

namespace {

Ref _agent_roots(const CallContext& context) {
    const auto [agent_keys, scope] = context.arguments<2>();
    Ref roots = checked(PyDict_New());
    const Ref keys = distinct_keys(context, agent_keys);
    for (const Ref& key : Iteration(keys)) {
        const Ref record = record_of(context, key);
        if (is_none(record)) continue;
        const bool at_user_scope = equals(scope, context[literal::user]);
        const Ref directories =
            context.attribute(record, at_user_scope ? name::skills_user_roots : name::skills_project_roots);
        if (is_true(directories)) checked(PyDict_SetItem(roots, key, directories));
    }
    return roots;
}

}  // namespace

constinit const python::Definition function::_agent_roots = {
    .name = "_agent_roots",
    .parameters = {{"agent_keys", "Iterable[str]"}, {"scope", "str"}},
    .returns = "dict[str, tuple[str, ...]]",
    .doc = R"(Skill-discovery roots per requested agent, for one scope.

    Unknown keys and agents with no verified root for the scope are dropped.
    )",
    .body = skill::_agent_roots,
};

}  // namespace tarnel::skill
