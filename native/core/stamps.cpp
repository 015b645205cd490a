#include "core/stamps.hpp"

#include <algorithm>

#include "core/utf8.hpp"

namespace tarnel::core {

namespace {

constexpr std::string_view marker = "version:";

bool is_line_end(char byte) { return byte == '\n' || byte == '\r'; }

bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }

bool is_space(char32_t character, const CharacterClasses& classes) {
    if (character >= 0x80U) return classes.is_space(character);
    return character == ' ' || (character >= '\t' && character <= '\r') || (character >= 0x1CU && character <= 0x1FU);
}

bool is_value(char32_t character, const CharacterClasses& classes) {
    if (character >= 0x80U) return classes.is_word(character);
    const char32_t lower = character | 0x20U;
    return (character >= '0' && character <= '9') || (lower >= 'a' && lower <= 'z') || character == '_' ||
           character == '.' || character == '-';
}

std::optional<int> digit_of(char32_t character, const CharacterClasses& classes) {
    if (character >= 0x80U) return classes.digit(character);
    if (character < '0' || character > '9') return {};
    return static_cast<int>(character - '0');
}

// The length in bytes of the leading run of characters that satisfy the predicate.
template <typename Predicate>
std::size_t length_of_run(std::string_view text, Predicate&& holds) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view before = rest;
        if (!holds(take_character(rest))) return text.size() - before.size();
    }
    return text.size();
}

// The part of the document that is searched for a stamp.
std::string_view head_of(std::string_view document) {
    if (document.size() <= searched_characters) return document;  // a character takes at least one byte
    std::size_t characters = 0;
    for (std::size_t i = 0; i < document.size(); i++) {
        const bool ends_in_pair = document[i] == '\n' && i > 0 && document[i - 1] == '\r';
        if (utf8::is_continuation(document[i]) || ends_in_pair) continue;
        if (characters++ == searched_characters) return document.substr(0, i);
    }
    return document;
}

// The version in the stamp at the start of the text: the marker, optional white space, the value, then only white space
// up to a line end or the end of the text.
std::optional<std::string_view> value_of_stamp(std::string_view text, const CharacterClasses& classes) {
    const auto space = [&](char32_t character) { return is_space(character, classes); };
    text.remove_prefix(marker.size());
    text.remove_prefix(length_of_run(text, space));
    if (text.empty() || !is_digit(text.front())) return {};
    const std::string_view value =
        text.substr(0, length_of_run(text, [&](char32_t character) { return is_value(character, classes); }));
    text.remove_prefix(value.size());
    const std::string_view behind = text.substr(0, length_of_run(text, space));
    if (behind.size() < text.size() && behind.find_first_of("\r\n") == std::string_view::npos) return {};
    return value;
}

std::optional<std::string_view> first_stamp(std::string_view head, const CharacterClasses& classes) {
    for (std::size_t at = head.find(marker); at != std::string_view::npos; at = head.find(marker, at + 1)) {
        if (at > 0 && !is_line_end(head[at - 1])) continue;
        if (const auto value = value_of_stamp(head.substr(at), classes)) return value;
    }
    return {};
}

// At most the first `size` bytes of the text, without splitting a character.
std::string_view front_of(std::string_view text, std::size_t size) {
    if (text.size() <= size) return text;
    while (size > 0 && utf8::is_continuation(text[size])) size--;
    return text.substr(0, size);
}

}  // namespace

std::optional<std::string_view> find_stamp(std::string_view document, const CharacterClasses& classes) {
    // A line that ends within this many bytes is in the head. Most stamp lines do, which saves counting characters.
    const std::string_view front = front_of(document, searched_characters);
    if (const auto stamp = first_stamp(front, classes)) {
        const std::string_view behind = front.substr(static_cast<std::size_t>(stamp->end() - front.begin()));
        if (behind.find_first_of("\r\n") != std::string_view::npos) return stamp;
    }
    return first_stamp(head_of(document), classes);
}

std::optional<std::uint64_t> take_number(std::string_view& version, const CharacterClasses& classes) {
    constexpr int most_digits = 18;  // any number with this many digits fits
    const std::size_t end = version.find('.');
    std::string_view piece = version.substr(0, end);
    version = end == std::string_view::npos ? std::string_view() : version.substr(end + 1);
    std::uint64_t number = 0;
    for (int digits = 0; !piece.empty(); digits++) {
        const char32_t character = take_character(piece);
        const std::optional<int> digit = digit_of(character, classes);
        if (!digit) break;
        if (digits == most_digits) return {};
        number = (number * 10) + static_cast<std::uint64_t>(*digit);
    }
    return number;
}

std::optional<std::strong_ordering> compare_versions(std::string_view left, std::string_view right,
                                                     const CharacterClasses& classes) {
    const auto left_pieces = std::ranges::count(left, '.') + 1;
    const auto right_pieces = std::ranges::count(right, '.') + 1;
    std::strong_ordering order = std::strong_ordering::equal;
    for (std::ptrdiff_t i = 0; i < std::max(left_pieces, right_pieces); i++) {
        const auto left_number = take_number(left, classes);  // 0 past the end
        const auto right_number = take_number(right, classes);
        if (!left_number || !right_number) return {};
        if (order == 0 && i < std::min(left_pieces, right_pieces)) order = *left_number <=> *right_number;
    }
    return order != 0 ? order : left_pieces <=> right_pieces;
}

}  // namespace tarnel::core
