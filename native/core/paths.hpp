// Joins and formats paths as pathlib does on POSIX, without accessing the file system.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnel::core {

// A path builder. Its text equals `str()` of a path object with the same components: no empty components, no `.`, no
// trailing slash, and one or two leading slashes if the path is absolute.
class PathText {
  public:
    PathText() { text_.reserve(usual_length); }

    // Appends a component. An absolute component replaces the path.
    void join(std::string_view component);

    // The text; "." if the path is empty.
    [[nodiscard]] std::string_view text() const { return text_.empty() ? std::string_view(".") : text_; }

    // The number of components, not counting the root.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }

  private:
    static constexpr std::size_t usual_length = 127;

    std::string text_;
    std::size_t root_ = 0;  // number of leading slashes
    std::size_t size_ = 0;
};

// The parent of a path text, in the same form: "." for a single relative component; the root is its own parent.
[[nodiscard]] std::string_view parent_of(std::string_view text);

}  // namespace tarnel::core
