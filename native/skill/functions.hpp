// The module's functions, in namespace order. Each is defined in the file named above it.
#pragma once

#include "python/definition.hpp"

namespace tarnel::skill::function {

// documents.cpp
extern const python::Definition render_skill_md;

// roots.cpp
extern const python::Definition skill_capable_agents;
extern const python::Definition _agent_roots;

// planning.cpp
extern const python::Definition _score;
extern const python::Definition resolve_skill_dirs;
extern const python::Definition skill_dir_plan;

// stamps.cpp
extern const python::Definition _installed_version;
extern const python::Definition _version_tuple;

// targets.cpp
extern const python::Definition _scope_base;
extern const python::Definition skill_target_path;

// installing.cpp
extern const python::Definition install_skill;
extern const python::Definition install_skills;

// status.cpp
extern const python::Definition _reading_agents;
extern const python::Definition skill_status;

// shadowing.cpp
extern const python::Definition shadowed_skills;

}  // namespace tarnel::skill::function
