// Version stamps in documents, and version keys.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnel::core {

// Unicode properties of non-ASCII characters. The caller provides the interpreter's tables.
struct CharacterClasses {
    bool (*is_space)(char32_t);
    bool (*is_word)(char32_t);              // letters, digits and anything else that `\w` matches
    std::optional<int> (*digit)(char32_t);  // the value of a decimal digit
};

// The number of leading characters searched for a stamp. A CRLF pair counts as one.
inline constexpr std::size_t searched_characters = 2000;

// The version in the first stamp of a UTF-8 document, or nothing. Same result as searching the document's head for
// `^version:\s*([0-9][\w.\-]*)\s*$` in multiline mode with universal newlines.
[[nodiscard]] std::optional<std::string_view> find_stamp(std::string_view document, const CharacterClasses& classes);

// Removes the next dot-separated piece from a UTF-8 version and returns its leading decimal digits as a number, or 0 if
// it has none. Returns nothing if there are more than 18 digits.
[[nodiscard]] std::optional<std::uint64_t> take_number(std::string_view& version, const CharacterClasses& classes);

// Compares the keys of two UTF-8 versions piece by piece; a key that is a prefix of the other comes first. Returns
// nothing if a number is too large.
[[nodiscard]] std::optional<std::strong_ordering> compare_versions(std::string_view left, std::string_view right,
                                                                   const CharacterClasses& classes);

}  // namespace tarnel::core
