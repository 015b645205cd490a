// The strings that native bodies use, made once.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "python/reference.hpp"

namespace tarnel::python {

// One of the strings (a global name, an attribute, a keyword, a literal), as an index into `Strings`.
enum class StringId : std::size_t {};

// The strings, interned. They belong to the interpreter that they were made in.
class Strings {
  public:
    explicit Strings(std::span<const char* const> utf8);
    [[nodiscard]] PyObject* operator[](StringId id) const noexcept { return strings_[static_cast<std::size_t>(id)]; }

  private:
    std::vector<Ref> strings_;
};

}  // namespace tarnel::python
