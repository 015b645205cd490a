# Cross build for macOS on arm64: zig compiles, LLVM's ld64.lld links (zig's own linker can't create bundles, and
# exports too many names).
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
include("${CMAKE_CURRENT_LIST_DIR}/zig.cmake")
set(CMAKE_CXX_COMPILER_TARGET aarch64-macos.11.0)
# zig derives these settings from the target.
foreach(setting SYSROOT DEPLOYMENT_TARGET ARCHITECTURES)
  set(CMAKE_OSX_${setting} "" CACHE STRING "")
endforeach()
# Enable libc++'s availability checks, which zig disables. Names that the C++ runtime of macOS 11 lacks are then compile
# errors, as with Apple's compiler, instead of import errors.
set(availability _LIBCPP_HAS_VENDOR_AVAILABILITY_ANNOTATIONS)
set(CMAKE_CXX_FLAGS_INIT "-U${availability} -D${availability}=1")
set(TARNEL_LINK_DEPENDS "${CMAKE_CURRENT_LIST_DIR}/macos-stubs/libSystem.tbd"
  "${CMAKE_CURRENT_LIST_DIR}/macos-stubs/libc++.tbd")  # relink if a stub changes
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX "${CMAKE_CURRENT_LIST_DIR}/macos-arm64-linking.cmake")
