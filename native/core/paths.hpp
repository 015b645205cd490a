// Paths as pathlib joins and writes them on POSIX, without looking at any file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnel::core {

// A path in the making. Its text is what `str()` gives for a path object of the same components: no empty ones, no
// `.`, no slash at the end, and one or two slashes at the front of an absolute path.
class PathText {
  public:
    PathText() { text_.reserve(usual_length); }

    // Joins a component: behind what is there, or in its place if the component is absolute.
    void join(std::string_view component);

    // The text; "." if nothing is left.
    [[nodiscard]] std::string_view text() const { return text_.empty() ? std::string_view(".") : text_; }

    // How many names it has, besides the root.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }

  private:
    static constexpr std::size_t usual_length = 127;

    std::string text_;
    std::size_t root_ = 0;  // slashes at the front
    std::size_t size_ = 0;
};

// The parent of such a text, as another one: "." for a single relative component, and the root's parent is the root.
[[nodiscard]] std::string_view parent_of(std::string_view text);

}  // namespace tarnel::core
