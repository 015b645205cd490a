// What the functions of one module share.
#pragma once

#include <vector>

#include "python/global_names.hpp"
#include "python/standard_library.hpp"
#include "python/strings.hpp"

namespace tarnel::python {

// Lives as long as any of the functions, which may outlive their module. The collector can't see it: it holds strings
// and objects of the standard library, and nothing that could lead back to a function or to the module.
struct Shared {
    explicit Shared(std::span<const char* const> literals) : strings(literals) {}

    Strings strings;
    GlobalNames globals;
    StandardLibrary standard_library;
    std::vector<Ref> recognized;  // objects that the module's bodies know what to do with, as the module lists them
};

}  // namespace tarnel::python
