// Which agents can take skills, and where each of them reads skills: the only reader of the host's agent table.
#include "skill/roots.hpp"

#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

bool is_sequence_of_texts(PyObject* object) { return is_list_of_texts(object) || is_tuple_of_texts(object); }

// `dict.fromkeys(texts)`, for a list or tuple of plain strings
Ref distinct_texts(PyObject* texts) {
    Ref distinct = checked(PyDict_New());
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(texts); i++)
        checked(PyDict_SetItem(distinct, PySequence_Fast_GET_ITEM(texts, i), Py_None));
    return distinct;
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
        if (!is_tuple_of_texts(directories)) return false;
    return true;
}

Ref distinct_keys(const CallContext& context, PyObject* agent_keys) {
    if (is_sequence_of_texts(agent_keys)) return distinct_texts(agent_keys);
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

// The fast path of `readers_of`; false, and the list as it may be, when it is not to be taken.
bool add_plain_readers(PyObject* readers, PyObject* directory, PyObject* agent_roots) {
    if (!PyUnicode_CheckExact(directory) || !PyDict_CheckExact(agent_roots)) return false;
    PyObject* key = nullptr;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &directories) != 0;) {
        if (!is_tuple_of_texts(directories)) return false;
        if (contains_text(directories, directory)) checked(PyList_Append(readers, key));
    }
    return true;
}

}  // namespace

Ref readers_of(const CallContext& context, PyObject* directory, PyObject* agent_roots) {
    Ref readers = checked(PyList_New(0));
    if (add_plain_readers(readers, directory, agent_roots)) return readers;
    checked(PyList_SetSlice(readers, 0, PyList_GET_SIZE(readers.get()), nullptr));
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

// The directories of one agent; null if it is unknown. Empty ones count as none.
Ref directories_of(const CallContext& context, PyObject* key, PyObject* scope) {
    const Ref record = record_of(context, key);
    if (is_none(record)) return {};
    const bool at_user_scope = equals(scope, context[literal::user]);
    return context.attribute(record, at_user_scope ? name::skills_user_roots : name::skills_project_roots);
}

// For a list or a tuple of plain strings. Each key counts once: what has been added tells which were met, but for the
// agents without directories.
void add_roots_of_texts(const CallContext& context, PyObject* roots, PyObject* keys, PyObject* scope) {
    const Ref tuple = checked(PySequence_Tuple(keys));  // a record's attributes may change a list
    const Ref without_directories = checked(PyList_New(0));
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(tuple.get()); i++) {
        PyObject* key = PyTuple_GET_ITEM(tuple.get(), i);
        if (checked(PyDict_Contains(roots, key)) != 0 || contains(without_directories, key)) continue;
        const Ref directories = directories_of(context, key, scope);
        if (directories.get() == nullptr) continue;
        if (is_true(directories))
            checked(PyDict_SetItem(roots, key, directories));
        else
            checked(PyList_Append(without_directories, key));
    }
}

Ref _agent_roots(const CallContext& context) {
    const auto [agent_keys, scope] = context.arguments<2>();
    Ref roots = checked(PyDict_New());
    if (is_sequence_of_texts(agent_keys)) {
        add_roots_of_texts(context, roots, agent_keys, scope);
        return roots;
    }
    const Ref keys = distinct_keys(context, agent_keys);
    for (const Ref& key : Iteration(keys)) {
        const Ref directories = directories_of(context, key, scope);
        if (directories.get() != nullptr && is_true(directories)) checked(PyDict_SetItem(roots, key, directories));
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

namespace {

// Whether the sequence is the mapping's keys, the very objects, in their order.
bool are_keys_of(PyObject* roots, PyObject* keys) {
    if (!is_sequence_of_texts(keys)) return false;
    if (PySequence_Fast_GET_SIZE(keys) != PyDict_GET_SIZE(roots)) return false;
    PyObject* key = nullptr;
    Py_ssize_t index = 0;
    for (Py_ssize_t position = 0; PyDict_Next(roots, &position, &key, nullptr) != 0; index++)
        if (PySequence_Fast_GET_ITEM(keys, index) != key) return false;
    return true;
}

// A new dict of the entries before that key.
Ref entries_before(PyObject* roots, PyObject* end) {
    Ref entries = checked(PyDict_New());
    PyObject* key = nullptr;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(roots, &position, &key, &directories) != 0 && key != end;)
        checked(PyDict_SetItem(entries, key, directories));
    return entries;
}

}  // namespace

Ref agent_roots_again(const CallContext& context, PyObject* agent_keys, PyObject* scope, PyObject* agent_roots) {
    if (!context.is_own(name::_agent_roots, skill::_agent_roots) || !PyDict_CheckExact(agent_roots) ||
        !are_keys_of(agent_roots, agent_keys))
        return context.call(name::_agent_roots, skill::_agent_roots, {agent_keys, scope});
    Ref again;  // null while nothing differs
    PyObject* key = nullptr;
    PyObject* before = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &before) != 0;) {
        const Ref directories = directories_of(context, key, scope);
        const bool has_any = directories.get() != nullptr && is_true(directories);
        if (again.get() == nullptr && has_any && directories.get() == before) continue;
        if (again.get() == nullptr) again = entries_before(agent_roots, key);
        if (has_any) checked(PyDict_SetItem(again, key, directories));
    }
    return again.get() == nullptr ? Ref::borrow(agent_roots) : std::move(again);
}

}  // namespace tarnel::skill
