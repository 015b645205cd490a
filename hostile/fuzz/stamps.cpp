// The scan for a stamp does what its pattern means, and nothing but UTF-8 is taken for UTF-8.
#include <vector>

#include "texts.hpp"

bool is_utf8_with_sanitizers(std::string_view text);

namespace {

// What comes out as it went in.
bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const auto lead = static_cast<unsigned char>(text[0]);
        const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t character = length == 1 ? lead : lead & (0x7FU >> length);
        for (const char next : text.substr(1, length - 1)) character = character << 6 | (next & 63);
        const bool is_surrogate = character >= 0xD800 && character < 0xE000;
        if (is_surrogate || character > 0x10FFFF || !text.starts_with(fuzz::encoded({&character, 1}))) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::u32string head_of(std::u32string_view text) {
    std::u32string head;
    for (std::size_t i = 0; i < text.size() && head.size() < 2000; i++) {
        if (text[i] == U'\r' && text.substr(i + 1).starts_with(U'\n')) continue;
        head += text[i] == U'\r' ? U'\n' : text[i];
    }
    return head;
}

bool is_value(char32_t c) {
    constexpr std::u32string_view ascii = U"_.-0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return fuzz::contains(ascii, c) || fuzz::contains(fuzz::beyond_ascii_in_words, c);
}

// ^version:\s*([0-9][\w.\-]*)\s*$ with every length that a part of it may have, the longest first.
std::u32string search(std::u32string_view text) {
    const auto run = [&](std::size_t from, auto&& holds) {
        std::size_t length = 0;
        while (from + length < text.size() && holds(text[from + length])) length++;
        return length;
    };
    const auto is_space = [](char32_t c) { return fuzz::contains(fuzz::spaces, c); };
    for (std::size_t start = text.find(U"version:"); start != text.npos; start = text.find(U"version:", start + 1)) {
        if (start > 0 && text[start - 1] != U'\n') continue;
        for (std::size_t before = run(start + 8, is_space) + 1; before-- > 0;) {
            const std::size_t value = start + 8 + before;
            if (value == text.size() || text[value] < U'0' || text[value] > U'9') continue;
            for (std::size_t length = run(value + 1, is_value) + 2; --length > 0;)
                for (std::size_t after = run(value + length, is_space) + 1; after-- > 0;) {
                    const std::size_t end = value + length + after;
                    if (end == text.size() || text[end] == U'\n') return std::u32string(text.substr(value, length));
                }
        }
    }
    return {};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::u32string text = fuzz::text_of({data, size});
    if (text.starts_with(U'~')) text.insert(0, 1940 + 4 * (size % 16), U'x');  // near the end of what is searched
    if (text.ends_with(U'~')) text.insert(0, 900, U'\u00e9');
    const std::string utf8 = fuzz::encoded(text);
    const std::vector<char> exact(utf8.begin(), utf8.end());  // a byte too far is one too many
    const auto found = tarnel::core::find_stamp({exact.data(), exact.size()}, fuzz::classes);
    fuzz::require(found.value_or("") == fuzz::encoded(search(head_of(text))));

    // What is well-formed turns on where a byte lies between these.
    constexpr std::string_view bounds = "\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5";
    std::vector<char> bytes(size > 0 ? data[0] % 40 : 0, 'x');
    for (std::size_t i = 0; i < size; i++) bytes.push_back(bounds[data[i] % bounds.size()]);
    bytes.shrink_to_fit();
    const std::string_view odd(bytes.data(), bytes.size());
    fuzz::require(is_utf8_with_sanitizers(odd) == is_utf8(odd));
    return 0;
}
