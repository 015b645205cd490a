// Replaces the terminate handler of the statically linked GNU C++ runtime. The default handler prints the type of the
// uncaught exception; its demangler would be a sixth of the extension, loaded at every import.
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

// NOLINTBEGIN: the runtime's own name for its initial handler
namespace __cxxabiv1 {
extern std::terminate_handler __terminate_handler;
std::terminate_handler __terminate_handler = end_process;
}  // namespace __cxxabiv1
// NOLINTEND
