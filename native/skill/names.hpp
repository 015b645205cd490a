// The strings that the module's native bodies use: names in `name::` (globals in namespace order, then attributes,
// methods and keywords), other strings in `literal::`. Constants in `name::` are called like their strings, except
// those that C++ reserves (two underscores, or an underscore and a capital).
#pragma once

#include <array>
#include <cstddef>

#include "python/call_context.hpp"

#define TARNEL_STRINGS(X)                                        \
    X(name, itertools, "itertools")                              \
    X(name, re, "re")                                            \
    X(name, Path, "Path")                                        \
    X(name, package_version, "__version__")                      \
    X(name, AGENT_CONFIG, "AGENT_CONFIG")                        \
    X(name, SKILL_TEMPLATES, "SKILL_TEMPLATES")                  \
    X(name, render_skill_md, "render_skill_md")                  \
    X(name, _agent_roots, "_agent_roots")                        \
    X(name, exhaustive_search_limit, "_EXHAUSTIVE_SEARCH_LIMIT") \
    X(name, _score, "_score")                                    \
    X(name, resolve_skill_dirs, "resolve_skill_dirs")            \
    X(name, skill_dir_plan, "skill_dir_plan")                    \
    X(name, SkillResult, "SkillResult")                          \
    X(name, version_re, "_VERSION_RE")                           \
    X(name, _installed_version, "_installed_version")            \
    X(name, _version_tuple, "_version_tuple")                    \
    X(name, _scope_base, "_scope_base")                          \
    X(name, skill_target_path, "skill_target_path")              \
    X(name, install_skill, "install_skill")                      \
    X(name, _reading_agents, "_reading_agents")                  \
    X(name, init, "__init__")                                    \
    X(name, _raw_paths, "_raw_paths")                            \
    X(name, agents, "agents")                                    \
    X(name, combinations, "combinations")                        \
    X(name, cwd, "cwd")                                          \
    X(name, dry_run, "dry_run")                                  \
    X(name, encoding, "encoding")                                \
    X(name, exist_ok, "exist_ok")                                \
    X(name, exists, "exists")                                    \
    X(name, force, "force")                                      \
    X(name, format, "format")                                    \
    X(name, fromkeys, "fromkeys")                                \
    X(name, get, "get")                                          \
    X(name, group, "group")                                      \
    X(name, home, "home")                                        \
    X(name, items, "items")                                      \
    X(name, match, "match")                                      \
    X(name, mkdir, "mkdir")                                      \
    X(name, parent, "parent")                                    \
    X(name, parents, "parents")                                  \
    X(name, read_text, "read_text")                              \
    X(name, search, "search")                                    \
    X(name, skill_name, "skill_name")                            \
    X(name, skills_dir, "skills_dir")                            \
    X(name, skills_project_roots, "skills_project_roots")        \
    X(name, skills_user_roots, "skills_user_roots")              \
    X(name, split, "split")                                      \
    X(name, values, "values")                                    \
    X(name, version, "version")                                  \
    X(name, write_text, "write_text")                            \
    X(literal, document_file, "SKILL.md")                        \
    X(literal, dot, ".")                                         \
    X(literal, leading_digits, "\\d+")                           \
    X(literal, not_installed, "not installed")                   \
    X(literal, project, "project")                               \
    X(literal, user, "user")                                     \
    X(literal, utf_8, "utf-8")

namespace tarnel::skill {

#define TARNEL_INDEX(kind, identifier, text) kind##_##identifier,
enum class StringIndex : std::size_t { TARNEL_STRINGS(TARNEL_INDEX) };
#undef TARNEL_INDEX

// NOLINTBEGIN(bugprone-macro-parentheses): a namespace is not an expression
#define TARNEL_CONSTANT(kind, identifier, text)                                                         \
    namespace kind {                                                                                    \
    inline constexpr auto identifier = static_cast<python::StringId>(StringIndex::kind##_##identifier); \
    }
TARNEL_STRINGS(TARNEL_CONSTANT)
#undef TARNEL_CONSTANT
// NOLINTEND(bugprone-macro-parentheses)

// The strings, in the order of the list.
#define TARNEL_STRING(kind, identifier, text) text,
inline constexpr std::array strings = {TARNEL_STRINGS(TARNEL_STRING)};
#undef TARNEL_STRING

}  // namespace tarnel::skill

#undef TARNEL_STRINGS
