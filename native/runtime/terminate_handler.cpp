// What the GNU C++ runtime, linked in, does when it can't go on. Its own handler names the exception that nobody
// caught; the demangler that it brings along is a sixth of the extension, to be loaded at each import.
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <string_view>

namespace {

[[noreturn]] void end_process() {
    constexpr std::string_view message = "muvad_tarnel.setup.skill: a C++ exception that nothing catches\n";
    static_cast<void>(write(STDERR_FILENO, message.data(), message.size()));
    std::abort();
}

}  // namespace

// NOLINTBEGIN: the runtime's own name for the handler that it starts with
namespace __cxxabiv1 {
extern std::terminate_handler __terminate_handler;
std::terminate_handler __terminate_handler = end_process;
}  // namespace __cxxabiv1
// NOLINTEND
