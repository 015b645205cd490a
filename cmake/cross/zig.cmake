# Settings shared by the zig toolchains. zig comes from PyPI's ziglang, whose folder "make" puts on PATH.
find_program(TARNEL_ZIG zig REQUIRED)
set(CMAKE_CXX_COMPILER "${TARNEL_ZIG}" c++)
# zig is one program with subcommands; CMake expects separate programs.
set(CMAKE_CXX_ARCHIVE_CREATE "\"${TARNEL_ZIG}\" ar qcs <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_APPEND "\"${TARNEL_ZIG}\" ar qs <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "")
# The machine's own strip and ranlib don't support the target.
foreach(program RANLIB STRIP INSTALL_NAME_TOOL)
  set(CMAKE_${program} ":" CACHE FILEPATH "")
endforeach()
# Check compilers without linking: for macOS, that would find no libraries; for Linux, zig would first build its C++
# runtime without optimisation.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
