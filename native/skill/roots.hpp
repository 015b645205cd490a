// What can be asked of an agent roots mapping: agent key to the directories that the agent reads at one scope.
#pragma once

#include "python/call_context.hpp"

namespace tarnel::skill {

// Whether the mapping is a plain dict of plain tuples of plain strings: what is asked of it runs no foreign code.
[[nodiscard]] bool is_plain(PyObject* agent_roots);

// The keys, each at its first occurrence, as a new dict's keys. Reads all of them.
[[nodiscard]] python::Ref distinct_keys(const python::CallContext& context, PyObject* agent_keys);

// `_agent_roots(agent_keys, scope)`, for a caller that has just called it and shares its result with nobody: that same
// mapping if nothing has changed. The agent table is read once more, as a call would read it.
[[nodiscard]] python::Ref agent_roots_again(const python::CallContext& context, PyObject* agent_keys, PyObject* scope,
                                            PyObject* agent_roots);

// Every distinct directory that any of the agents reads, ascending: a new list.
[[nodiscard]] python::Ref distinct_directories(const python::CallContext& context, PyObject* agent_roots);

// The keys of the agents that read the directory, in the mapping's order: a new list.
[[nodiscard]] python::Ref readers_of(const python::CallContext& context, PyObject* directory, PyObject* agent_roots);

}  // namespace tarnel::skill
