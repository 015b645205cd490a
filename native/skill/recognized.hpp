// Objects that the bodies recognise, in the order in which the module binds them.
#pragma once

#include <cstddef>

#include "core/documents.hpp"

namespace tarnel::skill::recognized {

inline constexpr std::size_t first_template = 0;  // the documents' templates, in their order
inline constexpr std::size_t version_pattern = core::document_count;
inline constexpr std::size_t result_keywords = version_pattern + 1;  // of `SkillResult(...)`, a tuple
inline constexpr std::size_t result_keywords_if_installed = result_keywords + 1;

}  // namespace tarnel::skill::recognized
