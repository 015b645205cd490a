// An inline function of the core, compiled with the sanitizers of the core instead of the targets' optimization.
#include "core/utf8.hpp"

bool is_utf8_with_sanitizers(std::string_view text) { return tarnel::core::is_utf8(text); }
