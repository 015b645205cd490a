# Build for old and new Linux systems: zig provides old C libraries, and a C++ runtime to link statically. (Another
# compiler's runtime, such as GCC 12's, may require the C library that it was built with.)
include("${CMAKE_CURRENT_LIST_DIR}/zig.cmake")
set(CMAKE_CXX_COMPILER_TARGET "${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu.2.17")
