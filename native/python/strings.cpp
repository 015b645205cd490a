#include "python/strings.hpp"

#include <utility>

#include "python/objects.hpp"

namespace tarnel::python {

void Strings::make() {
    std::vector<Ref> made;
    made.reserve(literals_.size());
    for (const char* literal : literals_) made.push_back(interned(literal));
    strings_ = std::move(made);
}

}  // namespace tarnel::python
