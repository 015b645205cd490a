// The strings that native bodies use.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "python/reference.hpp"

namespace tarnel::python {

// One of the strings (a global name, an attribute, a keyword, a literal), as an index into `Strings`.
enum class StringId : std::size_t {};

// The strings, interned. They belong to the interpreter that they were made in, and are made by the first call rather
// than by the import: many of them are looked up in a large table that no cache holds yet.
class Strings {
  public:
    // In UTF-8, and at least one.
    explicit Strings(std::span<const char* const> literals) noexcept : literals_(literals) {}

    // To be called before any of them is used.
    void ensure_made() {
        if (strings_.empty()) make();
    }
    [[nodiscard]] std::size_t size() const noexcept { return strings_.size(); }
    [[nodiscard]] PyObject* operator[](StringId id) const noexcept { return strings_[static_cast<std::size_t>(id)]; }

  private:
    void make();

    std::span<const char* const> literals_;
    std::vector<Ref> strings_;
};

}  // namespace tarnel::python
