// Data shared by the functions of one module.
#pragma once

#include <vector>

#include "python/global_names.hpp"
#include "python/standard_library.hpp"
#include "python/strings.hpp"

namespace tarnel::python {

// Lives as long as any of the functions, which may outlive their module. The garbage collector doesn't traverse it, so
// it holds strings and standard library objects, and nothing that leads back to a function or the module.
struct Shared {
    explicit Shared(std::span<const char* const> literals) : strings(literals) {}

    Strings strings;
    GlobalNames globals;
    StandardLibrary standard_library;
    std::vector<Ref> recognized;  // objects that native bodies recognise by identity
};

}  // namespace tarnel::python
