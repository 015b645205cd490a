# What the toolchains for zig share. zig comes from PyPI's ziglang, whose folder "make" puts on PATH.
find_program(TARNEL_ZIG zig REQUIRED)
set(CMAKE_CXX_COMPILER "${TARNEL_ZIG}" c++)
# zig is one program with many names; CMake wants a program for each.
set(CMAKE_CXX_ARCHIVE_CREATE "\"${TARNEL_ZIG}\" ar qcs <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_APPEND "\"${TARNEL_ZIG}\" ar qs <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "")
# The machine's own strip and ranlib know nothing of the target.
foreach(program RANLIB STRIP INSTALL_NAME_TOOL)
  set(CMAKE_${program} ":" CACHE FILEPATH "")
endforeach()
# Compilers are tried without linking: it would find no libraries for macOS, and for Linux have zig build its C++ runtime
# without optimisation first.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
