// What can be asked of an agent roots mapping: agent key to the directories that the agent reads at one scope.
#pragma once

#include "python/call_context.hpp"

namespace tarnel::skill {

// The keys, each at its first occurrence, as a new dict's keys. Reads all of them.
[[nodiscard]] python::Ref distinct_keys(const python::CallContext& context, PyObject* agent_keys);

struct AgentRoots {
    python::Ref mapping;
    bool would_be_the_same_again;  // and nothing could tell that the call was made a second time, if it is made at once
};

// `_agent_roots(agent_keys, scope)`
[[nodiscard]] AgentRoots agent_roots(const python::CallContext& context, PyObject* agent_keys, PyObject* scope);

// Every distinct directory that any of the agents reads, ascending: a new list.
[[nodiscard]] python::Ref distinct_directories(const python::CallContext& context, PyObject* agent_roots);

// The keys of the agents that read the directory, in the mapping's order: a new list.
[[nodiscard]] python::Ref readers_of(const python::CallContext& context, PyObject* directory, PyObject* agent_roots);

// Adds the directories, a list, to a dict, each with the list of the agents that read it: one pass for all of them.
// False, with nothing added, unless all of it is plain.
[[nodiscard]] bool add_readers(PyObject* plan, PyObject* directories, PyObject* agent_roots);

}  // namespace tarnel::skill
