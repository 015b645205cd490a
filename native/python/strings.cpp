#include "python/strings.hpp"

namespace tarnel::python {

Strings::Strings(std::span<const char* const> utf8) {
    strings_.reserve(utf8.size());
    for (const char* text : utf8) strings_.push_back(checked(PyUnicode_InternFromString(text)));
}

}  // namespace tarnel::python
