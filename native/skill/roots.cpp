// Which agents support skills, and where each reads them. Only this file reads the host's agent table.
#include "skill/roots.hpp"

#include <optional>

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

// Whether the mapping is a plain dict of plain tuples of plain strings, so that using it runs no foreign code.
bool is_plain(PyObject* agent_roots) {
    if (!PyDict_CheckExact(agent_roots)) return false;
    PyObject* key = nullptr;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &directories) != 0;)
        if (!is_tuple_of_texts(directories)) return false;
    return true;
}

}  // namespace

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

// `text in texts`; nothing unless `texts` is a plain tuple of plain strings.
std::optional<bool> contains_text(PyObject* texts, PyObject* text) {
    if (!PyTuple_CheckExact(texts)) return {};
    bool found = false;
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(texts); i++) {
        PyObject* item = PyTuple_GET_ITEM(texts, i);
        if (!PyUnicode_CheckExact(item)) return {};
        found = found || python::is_same_text(item, text);
    }
    return found;
}

// The fast path of `readers_of`; null if it doesn't apply.
Ref plain_readers(PyObject* directory, PyObject* agent_roots) {
    if (!PyUnicode_CheckExact(directory) || !PyDict_CheckExact(agent_roots)) return {};
    Ref readers = checked(PyList_New(0));
    PyObject* key = nullptr;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &directories) != 0;) {
        const std::optional<bool> is_reader = contains_text(directories, directory);
        if (!is_reader) return {};
        if (*is_reader) checked(PyList_Append(readers, key));
    }
    return readers;
}

}  // namespace

Ref readers_of(const CallContext& context, PyObject* directory, PyObject* agent_roots) {
    if (Ref readers = plain_readers(directory, agent_roots); readers.get() != nullptr) return readers;
    Ref readers = checked(PyList_New(0));
    const Ref pairs = context.call_method(agent_roots, name::items);
    for (const Ref& pair : Iteration(pairs)) {
        const auto [key, directories] = unpack_pair(pair);
        if (contains(directories, directory)) checked(PyList_Append(readers, key));
    }
    return readers;
}

bool add_readers(PyObject* plan, PyObject* directories, PyObject* agent_roots) {
    if (!is_list_of_texts(directories) || !is_plain(agent_roots)) return false;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(directories); i++) {
        const Ref readers = checked(PyList_New(0));
        checked(PyDict_SetItem(plan, PyList_GET_ITEM(directories, i), readers));
    }
    PyObject* key = nullptr;
    PyObject* its_directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, &key, &its_directories) != 0;)
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(its_directories); i++) {
            PyObject* readers = PyDict_GetItemWithError(plan, PyTuple_GET_ITEM(its_directories, i));
            if (readers == nullptr) continue;
            const Py_ssize_t count = PyList_GET_SIZE(readers);
            const bool is_repeated = count > 0 && PyList_GET_ITEM(readers, count - 1) == key;
            if (!is_repeated) checked(PyList_Append(readers, key));
        }
    return true;
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

// Whether looking up a plain str in the table runs no foreign code.
bool is_plain_table(PyObject* table) {
    if (!PyDict_CheckExact(table)) return false;
    PyObject* key = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(table, &position, &key, nullptr) != 0;)
        if (!PyUnicode_CheckExact(key)) return false;
    return true;
}

// Reads the agent table for one scope, and tracks whether that could be observed.
class TableReader {
  public:
    TableReader(const CallContext& context, PyObject* scope) : context_(context), scope_(scope) {
        PyObject* table = context.global_if_plain(name::AGENT_CONFIG);
        is_unnoticed_ = table != nullptr && PyUnicode_CheckExact(scope) && is_plain_table(table);
    }

    // The directories of one agent; null if it has none or is unknown.
    [[nodiscard]] Ref directories(PyObject* key) {
        const Ref record = record_of(key);
        if (is_none(record)) return {};
        const bool at_user_scope = equals(scope_, context_[literal::user]);
        const python::StringId name = at_user_scope ? name::skills_user_roots : name::skills_project_roots;
        Ref directories = python::attribute_in_slot(record, context_[name]);
        if (directories.get() == nullptr) {
            is_unnoticed_ = false;
            directories = context_.attribute(record, name);
        }
        if (!PyTuple_CheckExact(directories.get())) is_unnoticed_ = false;
        return is_true(directories) ? std::move(directories) : Ref();
    }

    [[nodiscard]] bool is_unnoticed() const noexcept { return is_unnoticed_; }

  private:
    // `AGENT_CONFIG.get(key)`
    [[nodiscard]] Ref record_of(PyObject* key) const {
        const Ref table = context_.global(name::AGENT_CONFIG);
        if (!PyDict_CheckExact(table.get())) return context_.call_method(table, name::get, {key});
        Ref record = python::item_if_any(table, key);
        return record.get() == nullptr ? none() : std::move(record);
    }

    const CallContext& context_;
    PyObject* scope_;
    bool is_unnoticed_;
};

// For a list or a tuple of plain strings. Each key counts once: repeated keys are found in `roots` or, for agents
// without directories, in a list.
void add_roots_of_texts(TableReader& table, PyObject* roots, PyObject* keys) {
    const Ref tuple = checked(PySequence_Tuple(keys));  // reading a record's attributes may change a list
    const Ref without_directories = checked(PyList_New(0));
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(tuple.get()); i++) {
        PyObject* key = PyTuple_GET_ITEM(tuple.get(), i);
        if (contains(roots, key) || contains(without_directories, key)) continue;
        const Ref directories = table.directories(key);
        if (directories.get() != nullptr)
            checked(PyDict_SetItem(roots, key, directories));
        else
            checked(PyList_Append(without_directories, key));
    }
}

AgentRoots read_agent_roots(const CallContext& context, PyObject* agent_keys, PyObject* scope) {
    TableReader table(context, scope);
    AgentRoots roots{checked(PyDict_New()), false};
    if (is_sequence_of_texts(agent_keys)) {
        add_roots_of_texts(table, roots.mapping, agent_keys);
        roots.would_be_the_same_again = table.is_unnoticed();
        return roots;
    }
    const Ref keys = distinct_keys(context, agent_keys);
    for (const Ref& key : Iteration(keys)) {
        const Ref directories = table.directories(key);
        if (directories.get() != nullptr) checked(PyDict_SetItem(roots.mapping, key, directories));
    }
    return roots;
}

Ref _agent_roots(const CallContext& context) {
    const auto [agent_keys, scope] = context.arguments<2>();
    return read_agent_roots(context, agent_keys, scope).mapping;
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

AgentRoots agent_roots(const CallContext& context, PyObject* agent_keys, PyObject* scope) {
    if (context.is_own(name::_agent_roots, skill::_agent_roots)) return read_agent_roots(context, agent_keys, scope);
    return {context.call(name::_agent_roots, {agent_keys, scope}), false};
}

}  // namespace tarnel::skill
