# Build for the Linux systems of many years: zig carries the C libraries of old, and a C++ runtime to link in. (A
# compiler's own runtime, such as GCC 12's, may ask for the C library that it was itself built with.)
include("${CMAKE_CURRENT_LIST_DIR}/zig.cmake")
set(CMAKE_CXX_COMPILER_TARGET "${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu.2.17")
