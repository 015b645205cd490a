// The unwinder, which C++ exceptions need.
#pragma once

namespace tarnel::runtime {

// Loads it if it isn't there yet. Null, or why it can't be loaded: an exception that is thrown then ends the process.
#ifdef TARNEL_LAZY_UNWINDER
[[nodiscard]] const char* load_unwinder() noexcept;
#else
[[nodiscard]] inline const char* load_unwinder() noexcept { return nullptr; }
#endif

}  // namespace tarnel::runtime
