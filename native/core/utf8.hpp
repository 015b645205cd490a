// UTF-8 without Python objects, as strict as CPython's decoder: no surrogates, no overlong forms.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

namespace tarnel::core {

namespace utf8 {

constexpr unsigned byte_at(std::string_view text, std::size_t index) { return static_cast<unsigned char>(text[index]); }

constexpr bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80U; }

constexpr bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// The length of a well-formed character with this lead byte.
constexpr std::size_t length_by_lead(unsigned lead) {
    if (lead < 0x80U) return 1;
    if (lead < 0xE0U) return 2;
    return lead < 0xF0U ? 3 : 4;
}

// The length of the non-ASCII character at `index`; 0 if it is malformed or truncated.
constexpr std::size_t length_of_character(std::string_view text, std::size_t index) {
    const unsigned lead = byte_at(text, index);
    const std::size_t length = length_by_lead(lead);
    if (lead < 0xC2U || lead > 0xF4U || text.size() - index < length) return 0;
    for (std::size_t i = 1; i < length; i++)
        if (!is_continuation(text[index + i])) return 0;
    const unsigned second = byte_at(text, index + 1);
    const bool overlong = (lead == 0xE0U && second < 0xA0U) || (lead == 0xF0U && second < 0x90U);
    const bool surrogate = lead == 0xEDU && second >= 0xA0U;
    const bool beyond_unicode = lead == 0xF4U && second >= 0x90U;
    return overlong || surrogate || beyond_unicode ? 0 : length;
}

// The first non-ASCII position at or after `index`, or the end of the text.
constexpr std::size_t skip_ascii(std::string_view text, std::size_t index) {
    if (!std::is_constant_evaluated() && std::endian::native == std::endian::little) {
        constexpr std::uint64_t high_bits = 0x8080808080808080U;
        std::array<std::uint64_t, 8> block{};
        for (; text.size() - index >= sizeof block; index += sizeof block) {
            std::memcpy(block.data(), text.data() + index, sizeof block);
            std::uint64_t all = 0;
            for (const std::uint64_t word : block) all |= word;
            if ((all & high_bits) != 0) break;
        }
        for (; text.size() - index >= sizeof block[0]; index += sizeof block[0]) {
            std::memcpy(block.data(), text.data() + index, sizeof block[0]);
            const int zeros = std::countr_zero(block[0] & high_bits);
            if (zeros < std::numeric_limits<std::uint64_t>::digits)
                return index + (static_cast<std::size_t>(zeros) / 8);
        }
    }
    while (index < text.size() && is_ascii(text[index])) index++;
    return index;
}

}  // namespace utf8

constexpr bool is_ascii(std::string_view text) { return utf8::skip_ascii(text, 0) == text.size(); }

constexpr bool is_utf8(std::string_view text) {
    for (std::size_t index = utf8::skip_ascii(text, 0); index < text.size(); index = utf8::skip_ascii(text, index)) {
        const std::size_t length = utf8::length_of_character(text, index);
        if (length == 0) return false;
        index += length;
    }
    return true;
}

// Removes and returns the first character of `text`, which must be well-formed and not empty.
constexpr char32_t take_character(std::string_view& text) {
    const unsigned lead = utf8::byte_at(text, 0);
    const std::size_t length = utf8::length_by_lead(lead);
    char32_t character = length == 1 ? lead : lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; i++) character = (character << 6U) | (utf8::byte_at(text, i) & 0x3FU);
    text.remove_prefix(length);
    return character;
}

}  // namespace tarnel::core
