// Constants of the choice of directories.
#pragma once

#include "python/reference.hpp"

namespace tarnel::skill {

// Up to this many candidate directories every selection is considered, unless the module's constant is changed.
inline constexpr long default_exhaustive_search_limit = 12;

// The type alias `_Score`: `tuple[int, int, int, tuple[str, ...]]`.
[[nodiscard]] python::Ref score_alias();

}  // namespace tarnel::skill
