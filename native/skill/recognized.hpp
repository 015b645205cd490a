// Objects that the bodies recognise, in the order in which the module binds them.
#pragma once

#include <cstddef>

#include "core/documents.hpp"

namespace tarnel::skill::recognized {

inline constexpr std::size_t first_template = 0;  // the documents' templates, in their order
inline constexpr std::size_t version_pattern = core::document_count;

}  // namespace tarnel::skill::recognized
