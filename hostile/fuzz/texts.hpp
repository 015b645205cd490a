// What the fuzz targets share: texts made of their input, and character classes without an interpreter.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/stamps.hpp"

namespace fuzz {

inline void require(bool holds) {
    if (!holds) std::abort();
}

inline bool contains(std::u32string_view characters, char32_t character) {
    return characters.find(character) != std::u32string_view::npos;
}

// A few characters of each kind and each length in UTF-8.
inline constexpr std::u32string_view spaces = U" \t\n\v\f\r\x1c\x1d\x1e\x1f\u0085\u00a0\u2028";
inline constexpr std::u32string_view beyond_ascii_in_words = U"\u00e9\u00b2\u0661\U0001D7D8";

inline std::optional<int> digit(char32_t character) {
    if (character >= U'0' && character <= U'9') return static_cast<int>(character - U'0');
    if (character == U'\u0661') return 1;
    return character == U'\U0001D7D8' ? std::optional(0) : std::nullopt;
}

inline constexpr tarnel::core::CharacterClasses classes = {
    .is_space = [](char32_t character) { return contains(spaces, character); },
    .is_word = [](char32_t character) { return contains(beyond_ascii_in_words, character); },
    .digit = digit,
};

inline void encode(std::string& to, char32_t c) {
    const auto add = [&](char32_t byte) { to += static_cast<char>(byte); };
    const auto add_rest = [&](unsigned bytes) {
        while (bytes-- > 0) add(0x80 | (c >> (6 * bytes) & 63));
    };
    if (c < 0x80) return add(c);
    const unsigned rest = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    add((rest == 1 ? 0xC0 : rest == 2 ? 0xE0 : 0xF0) | c >> (6 * rest));
    add_rest(rest);
}

inline std::string encoded(std::u32string_view text) {
    std::string bytes;
    for (const char32_t character : text) encode(bytes, character);
    return bytes;
}

// ASCII bytes stand for themselves, the others for what chance seldom makes.
inline std::u32string text_of(std::span<const std::uint8_t> input) {
    constexpr std::array<std::u32string_view, 11> rare = {
        U"version:", U"\nversion: 1.2", U"\r\n",   U"\u00e9",     U"\u00b2",           U"\u0661",
        U"\u2028",   U"\u0085",         U"\u00a0", U"\U0001D7D8", U"12345678901234567"};
    std::u32string text;
    for (const std::uint8_t byte : input) {
        if (byte < 0x80)
            text += byte;
        else
            text += rare[byte % rare.size()];
    }
    return text;
}

}  // namespace fuzz
