// Agent roots mappings, from agent key to the directories that the agent reads at one scope.
#pragma once

#include "python/call_context.hpp"

namespace tarnel::skill {

// The distinct keys, in order of first occurrence, as the keys of a new dict. Consumes the iterable.
[[nodiscard]] python::Ref distinct_keys(const python::CallContext& context, PyObject* agent_keys);

struct AgentRoots {
    python::Ref mapping;
    bool would_be_the_same_again;  // an immediate second call would give it again, and couldn't be observed
};

// `_agent_roots(agent_keys, scope)`
[[nodiscard]] AgentRoots agent_roots(const python::CallContext& context, PyObject* agent_keys, PyObject* scope);

// A new list of all distinct directories that the agents read, ascending.
[[nodiscard]] python::Ref distinct_directories(const python::CallContext& context, PyObject* agent_roots);

// A new list of the keys of the agents that read the directory, in the mapping's order.
[[nodiscard]] python::Ref readers_of(const python::CallContext& context, PyObject* directory, PyObject* agent_roots);

// Adds each directory in a list to the dict `plan`, with the list of the agents that read it, in one pass over the
// mapping. Returns false and adds nothing unless all objects are plain.
[[nodiscard]] bool add_readers(PyObject* plan, PyObject* directories, PyObject* agent_roots);

}  // namespace tarnel::skill
