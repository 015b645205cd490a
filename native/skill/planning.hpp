// Chooses directories.
#pragma once

#include "skill/roots.hpp"

namespace tarnel::skill {

// The default number of candidate directories up to which every selection is considered.
inline constexpr long default_exhaustive_search_limit = 12;

// `resolve_skill_dirs(agent_keys, scope)` for a caller that has just called `_agent_roots(agent_keys, scope)`.
[[nodiscard]] python::Ref chosen_directories(const python::CallContext& context, PyObject* agent_keys, PyObject* scope,
                                             const AgentRoots& roots);

// The type alias `_Score`: `tuple[int, int, int, tuple[str, ...]]`.
[[nodiscard]] python::Ref score_alias();

}  // namespace tarnel::skill
