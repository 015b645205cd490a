// The strings that native bodies use.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "python/reference.hpp"

namespace tarnel::python {

// The index of a string in `Strings`: a global name, an attribute, a keyword or a literal.
enum class StringId : std::size_t {};

// The interned strings of one interpreter. They are created by the first call rather than the import, because interning
// looks many of them up in a large table that isn't in the CPU's caches yet.
class Strings {
  public:
    // Takes at least one literal, in UTF-8.
    explicit Strings(std::span<const char* const> literals) noexcept : literals_(literals) {}

    // Call this before using any of them.
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
