# Links a module by calling the linker directly, so that no compiler has to pass its options on. Names that neither stub
# lists, such as CPython's, are looked up at import; tools/check_macho.py finds those that are not CPython's.
find_program(TARNEL_LD64 NAMES ld64.lld ld64.lld-19 REQUIRED)  # Debian: lld-19
set(stubs "${CMAKE_CURRENT_LIST_DIR}/macos-stubs")
unset(CMAKE_CXX_LINKER_WRAPPER_FLAG)
unset(CMAKE_CXX_LINKER_WRAPPER_FLAG_SEP)
set(CMAKE_SHARED_MODULE_CREATE_CXX_FLAGS "-bundle")
set(CMAKE_CXX_CREATE_SHARED_MODULE
  "\"${TARNEL_LD64}\" -arch arm64 -platform_version macos 11.0 11.0 -x -adhoc_codesign <LINK_FLAGS> -o <TARGET> <OBJECTS> \
<LINK_LIBRARIES> \"${stubs}/libSystem.tbd\" \"${stubs}/libc++.tbd\"")
