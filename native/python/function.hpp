// Regular Python functions with native bodies.
#pragma once

#include <memory>

#include "python/definition.hpp"
#include "python/namespace.hpp"

namespace tarnel::python {

// Creates the function with the module's namespace as its globals, evaluates the defaults, and binds it under its name.
// The function needs only the namespace, not the module; it shares `shared` with the others.
void define(Namespace& module, const Definition& definition, const std::shared_ptr<Shared>& shared);

}  // namespace tarnel::python
