// Ends the process where C++ exceptions don't work.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace tarnel::runtime {

// Not through stdio, whose symbols every import would look up.
[[noreturn]] inline void end_process(std::string_view problem) noexcept {
    for (const std::string_view part :
         {std::string_view("muvad_tarnel.setup.skill: "), problem, std::string_view("\n")})
        static_cast<void>(write(STDERR_FILENO, part.data(), part.size()));
    std::abort();
}

}  // namespace tarnel::runtime
