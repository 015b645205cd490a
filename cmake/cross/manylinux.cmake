# Build for the Linux systems of many years: zig carries the C libraries of old, and a C++ runtime to link in. (A
# compiler's own runtime, such as GCC 12's, may ask for the C library that it was itself built with.)
include("${CMAKE_CURRENT_LIST_DIR}/zig.cmake")
set(CMAKE_CXX_COMPILER_TARGET "${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu.2.17")
# But not its unwinder: glibc ends threads by unwinding their stacks with libgcc_s, which passes what it knows of a frame
# to functions of the same library, as it takes them to be. Every system with glibc has this one.
find_library(TARNEL_LIBGCC NAMES libgcc_s.so.1 REQUIRED
  PATHS "/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu" /lib64 /lib)
set(CMAKE_MODULE_LINKER_FLAGS_INIT "\"${TARNEL_LIBGCC}\"")
