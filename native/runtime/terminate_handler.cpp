// Replaces the terminate handler of the statically linked GNU C++ runtime. The default handler prints the type of the
// uncaught exception; its demangler would be a sixth of the extension, loaded at every import.
#include <exception>

#include "runtime/end_process.hpp"

namespace {

[[noreturn]] void end_process() { tarnel::runtime::end_process("a C++ exception that nothing catches"); }

}  // namespace

// NOLINTBEGIN: the runtime's own name for its initial handler
namespace __cxxabiv1 {
extern std::terminate_handler __terminate_handler;
std::terminate_handler __terminate_handler = end_process;
}  // namespace __cxxabiv1
// NOLINTEND
