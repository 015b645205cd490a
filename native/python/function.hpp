// Functions of the interpreter's own kind whose bodies are native.
#pragma once

#include <memory>

#include "python/definition.hpp"
#include "python/namespace.hpp"

namespace tarnel::python {

// Makes the function over the module's namespace, with the defaults evaluated now, and binds it there under its name.
// The function needs nothing of the module but that namespace; it shares `shared` with the others.
void define(Namespace& module, const Definition& definition, const std::shared_ptr<Shared>& shared);

}  // namespace tarnel::python
