// Indices of the objects that native bodies recognise by identity, in the order in which the module adds them.
#pragma once

#include <cstddef>

#include "core/documents.hpp"

namespace tarnel::skill::recognized {

inline constexpr std::size_t first_template = 0;  // the templates, in the order of the documents
inline constexpr std::size_t version_pattern = core::document_count;
inline constexpr std::size_t result_keywords = version_pattern + 1;  // a tuple, for `SkillResult(...)`
inline constexpr std::size_t result_keywords_if_installed = result_keywords + 1;

}  // namespace tarnel::skill::recognized
