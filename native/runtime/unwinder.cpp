// On glibc, loads the unwinder when it is first needed instead of with the extension.
//
// The unwinder is a separate library, libgcc_s, and loading it takes as long as loading the extension. It can't be
// linked statically: glibc ends threads by unwinding their stacks with libgcc_s, and the C++ runtime has to query the
// library that walks the stack. So the C++ runtime and compiled code call forwarders, which find libgcc_s by name.
// A function call loads it before the native body runs, so that running out of memory can still be reported.
#include "runtime/unwinder.hpp"

#include <dlfcn.h>
#include <unwind.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "runtime/end_process.hpp"

namespace tarnel::runtime {

namespace {

enum Function {
    raise_exception,
    resume,
    resume_or_rethrow,
    delete_exception,
    set_register,
    set_instruction,
    instruction,
    instruction_info,
    region_start,
    data_base,
    text_base,
    language_data,
    function_count,
};

constexpr std::array<const char*, function_count> names = {
    "_Unwind_RaiseException",  "_Unwind_Resume",         "_Unwind_Resume_or_Rethrow",
    "_Unwind_DeleteException", "_Unwind_SetGR",          "_Unwind_SetIP",
    "_Unwind_GetIP",           "_Unwind_GetIPInfo",      "_Unwind_GetRegionStart",
    "_Unwind_GetDataRelBase",  "_Unwind_GetTextRelBase", "_Unwind_GetLanguageSpecificData",
};

// Concurrent threads store the same values. If the last entry is set, all are.
constinit std::array<std::atomic<void*>, function_count> functions = {};

template <typename Result, typename... Arguments>
Result forward(Function function, Arguments... arguments) {
    if (!load_unwinder()) end_process(unwinder_problem);
    void* address = functions[function].load(std::memory_order_relaxed);
    return reinterpret_cast<Result (*)(Arguments...)>(address)(arguments...);
}

}  // namespace

bool load_unwinder() noexcept {
    if (functions.back().load(std::memory_order_acquire) != nullptr) return true;
    void* library = dlopen("libgcc_s.so.1", RTLD_NOW);
    if (library == nullptr) return false;
    for (std::size_t i = 0; i < function_count; i++) {
        void* address = dlsym(library, names[i]);
        if (address == nullptr) return false;
        functions[i].store(address, std::memory_order_release);
    }
    return true;
}

}  // namespace tarnel::runtime

// Exceptions unwind through the forwarders' frames, which need no cleanup.
using namespace tarnel::runtime;
extern "C" {
_Unwind_Reason_Code _Unwind_RaiseException(_Unwind_Exception* exception) {
    return forward<_Unwind_Reason_Code>(raise_exception, exception);
}
_Unwind_Reason_Code _Unwind_Resume_or_Rethrow(_Unwind_Exception* exception) {
    return forward<_Unwind_Reason_Code>(resume_or_rethrow, exception);
}
void _Unwind_Resume(_Unwind_Exception* exception) {
    forward<void>(resume, exception);
    std::abort();  // _Unwind_Resume never returns
}
void _Unwind_DeleteException(_Unwind_Exception* exception) { forward<void>(delete_exception, exception); }
void _Unwind_SetGR(_Unwind_Context* context, int index, _Unwind_Word value) {
    forward<void>(set_register, context, index, value);
}
void _Unwind_SetIP(_Unwind_Context* context, _Unwind_Ptr value) { forward<void>(set_instruction, context, value); }
_Unwind_Ptr _Unwind_GetIP(_Unwind_Context* context) { return forward<_Unwind_Ptr>(instruction, context); }
_Unwind_Ptr _Unwind_GetIPInfo(_Unwind_Context* context, int* before) {
    return forward<_Unwind_Ptr>(instruction_info, context, before);
}
_Unwind_Ptr _Unwind_GetRegionStart(_Unwind_Context* context) { return forward<_Unwind_Ptr>(region_start, context); }
_Unwind_Ptr _Unwind_GetDataRelBase(_Unwind_Context* context) { return forward<_Unwind_Ptr>(data_base, context); }
_Unwind_Ptr _Unwind_GetTextRelBase(_Unwind_Context* context) { return forward<_Unwind_Ptr>(text_base, context); }
void* _Unwind_GetLanguageSpecificData(_Unwind_Context* context) { return forward<void*>(language_data, context); }
}
