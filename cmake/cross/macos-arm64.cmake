# Cross build for macOS on arm64: zig compiles, LLVM's ld64.lld links (zig's own linker makes no bundles and exports
# more than it is told to).
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
include("${CMAKE_CURRENT_LIST_DIR}/zig.cmake")
set(CMAKE_CXX_COMPILER_TARGET aarch64-macos.11.0)
# What zig knows by itself from the target.
foreach(setting SYSROOT DEPLOYMENT_TARGET ARCHITECTURES)
  set(CMAKE_OSX_${setting} "" CACHE STRING "")
endforeach()
# libc++'s availability checks, which zig switches off: what the C++ runtime of macOS 11 lacks is then a compile error,
# as it is with Apple's compiler, and no surprise at import.
set(availability _LIBCPP_HAS_VENDOR_AVAILABILITY_ANNOTATIONS)
set(CMAKE_CXX_FLAGS_INIT "-U${availability} -D${availability}=1")
set(TARNEL_LINK_DEPENDS "${CMAKE_CURRENT_LIST_DIR}/macos-stubs/libSystem.tbd"
  "${CMAKE_CURRENT_LIST_DIR}/macos-stubs/libc++.tbd")  # linked again when a stub changes
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX "${CMAKE_CURRENT_LIST_DIR}/macos-arm64-linking.cmake")
