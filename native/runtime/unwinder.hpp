// The unwinder, which C++ exceptions need.
#pragma once

namespace tarnel::runtime {

inline constexpr char unwinder_problem[] = "libgcc_s.so.1, which C++ exceptions need, cannot be loaded";

// Loads it if it isn't there yet. False if it can't be loaded: an exception that is thrown then ends the process.
#ifdef TARNEL_LAZY_UNWINDER
[[nodiscard]] bool load_unwinder() noexcept;
#else
[[nodiscard]] inline bool load_unwinder() noexcept { return true; }
#endif

}  // namespace tarnel::runtime
