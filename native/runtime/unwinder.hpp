// Loads the unwinder, which C++ exceptions need.
#pragma once

namespace tarnel::runtime {

inline constexpr char unwinder_problem[] = "libgcc_s.so.1, which C++ exceptions need, cannot be loaded";

// Loads the unwinder unless it is loaded already. After it returns false, throwing an exception ends the process.
#ifdef TARNEL_LAZY_UNWINDER
[[nodiscard]] bool load_unwinder() noexcept;
#else
[[nodiscard]] inline bool load_unwinder() noexcept { return true; }
#endif

}  // namespace tarnel::runtime
