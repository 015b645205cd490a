// Compares the core's results for random input with simple definitions. Compiled for each target: -DTARGET=stamps ...
#include <iconv.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <tuple>
#include <utility>
#include <vector>

#include "core/paths.hpp"
#include "core/planning.hpp"
#include "core/stamps.hpp"

using namespace tarnel::core;
using Input = std::span<const std::uint8_t>;

bool is_utf8_with_sanitizers(std::string_view text);  // is_utf8, compiled with the sanitizers like the core

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

bool contains(std::u32string_view characters, char32_t c) { return characters.find(c) != characters.npos; }

// A few characters of each kind and each length in UTF-8.
bool is_space(char32_t c) { return contains(U" \t\n\v\f\r\x1c\x1d\x1e\x1f\u0085\u00a0\u2028", c); }
bool is_word(char32_t c) { return contains(U"\u00e9\u00b2\u0661\U0001D7D8", c); }
std::optional<int> digit(char32_t c) {
    const std::size_t value = std::u32string_view(U"0123456789\U0001D7D8\u0661").find(c);
    return value == std::u32string_view::npos ? std::nullopt : std::optional(static_cast<int>(value % 10));
}
constexpr CharacterClasses classes = {.is_space = is_space, .is_word = is_word, .digit = digit};

std::string encoded(std::u32string_view text) {
    std::string bytes;
    for (const char32_t c : text) {
        const unsigned rest = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        bytes += static_cast<char>("\x00\xC0\xE0\xF0"[rest] | static_cast<char>(c >> (6 * rest)));
        for (unsigned i = rest; i-- > 0;) bytes += static_cast<char>(0x80 | (c >> (6 * i) & 63));
    }
    return bytes;
}

// ASCII bytes stand for themselves, the others for sequences that random input rarely contains.
std::u32string text_of(Input input) {
    constexpr std::array<std::u32string_view, 11> rare = {
        U"version:", U"\nversion: 1.2", U"\r\n",   U"\u00e9",     U"\u00b2",           U"\u0661",
        U"\u2028",   U"\u0085",         U"\u00a0", U"\U0001D7D8", U"12345678901234567"};
    std::u32string text;
    for (const std::uint8_t byte : input)
        text += byte < 0x80 ? std::u32string(1, byte) : std::u32string(rare[byte % rare.size()]);
    return text;
}

std::vector<std::u32string> split(std::u32string text, char32_t separator) {
    std::vector<std::u32string> pieces(1);
    for (const char32_t c : text)
        c == separator ? static_cast<void>(pieces.emplace_back()) : pieces.back().push_back(c);
    return pieces;
}

// The value in the first stamp with nothing but white space around the value, if any.
std::u32string search(std::u32string_view text) {
    static constexpr std::u32string_view ascii = U"_.-0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (std::size_t start = text.find(U"version:"); start != text.npos; start = text.find(U"version:", start + 1))
        for (std::size_t end = text.size(); end >= start + 8; end--) {
            if ((start > 0 && text[start - 1] != U'\n') || (end < text.size() && text[end] != U'\n')) continue;
            std::u32string_view value = text.substr(start + 8, end - start - 8);
            while (!value.empty() && is_space(value.front())) value.remove_prefix(1);
            while (!value.empty() && is_space(value.back())) value.remove_suffix(1);
            const auto is_value = [](char32_t c) { return contains(ascii, c) || is_word(c); };
            if (!value.empty() && value[0] < 0x80 && digit(value[0]) && std::ranges::all_of(value, is_value))
                return std::u32string(value);
        }
    return {};
}

void stamps(Input input) {
    std::u32string text = text_of(input);
    if (text.starts_with(U'~')) text.insert(0, 1940 + 4 * (text.size() % 16), U'x');  // near the end of the head
    if (text.ends_with(U'~')) text.insert(0, 900, U'\u00e9');
    std::u32string head;
    for (std::size_t i = 0; i < text.size() && head.size() < 2000; i++)
        if (text[i] != U'\r' || !text.substr(i + 1, 1).starts_with(U'\n')) head += text[i] == U'\r' ? U'\n' : text[i];
    const std::string utf8 = encoded(text);
    const std::vector<char> exact(utf8.begin(), utf8.end());  // so that the sanitizer detects reads past the end
    require(find_stamp({exact.data(), exact.size()}, classes).value_or("") == encoded(search(head)));

    // These bytes are the boundaries that decide whether UTF-8 is well-formed.
    std::vector<char> bytes(input.empty() ? 0 : input[0] % 40, 'x');
    for (const std::uint8_t byte : input)
        bytes.push_back("\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5"[byte % 16]);
    bytes.shrink_to_fit();
    static const iconv_t decoder = iconv_open("UTF-32", "UTF-8");
    std::array<char, 512> to{};
    char* from = bytes.data();
    char* out = to.data();
    std::size_t left = bytes.size();
    std::size_t room = to.size();
    const bool is_decoded = iconv(decoder, &from, &left, &out, &room) != static_cast<std::size_t>(-1);
    iconv(decoder, nullptr, nullptr, nullptr, nullptr);
    require(is_utf8_with_sanitizers({bytes.data(), bytes.size()}) == is_decoded);
}

std::optional<std::vector<std::uint64_t>> key_of(const std::u32string& version) {
    std::vector<std::uint64_t> key;
    for (const std::u32string& piece : split(version, U'.')) {
        std::size_t digits = 0;
        key.push_back(0);
        while (digits < piece.size() && digit(piece[digits])) {
            key.back() = key.back() * 10 + static_cast<std::uint64_t>(*digit(piece[digits]));
            if (++digits > 18) return {};
        }
    }
    return key;
}

void versions(Input input) {
    std::vector<std::u32string> texts = split(text_of(input), U'|');
    const auto left = key_of(texts.front());
    const auto right = key_of(texts.back());
    const std::string utf8 = encoded(texts.front());
    const auto order = compare_versions(utf8, encoded(texts.back()), classes);
    require(order.has_value() == (left && right) && (!order || *order == (*left <=> *right)));
    std::string_view rest = utf8;
    for (std::size_t i = 0; left && i < left->size(); i++) require(take_number(rest, classes) == (*left)[i]);
    require(!left || rest.empty());
}

std::string written(std::u32string root, const std::vector<std::u32string>& names) {
    for (const std::u32string& name : names) root += (&name == names.data() ? U"" : U"/") + name;
    return root.empty() ? "." : encoded(root);
}

// Joined as by posixpath, then normalised as by pathlib.
void paths(Input input) {
    PathText joined;
    std::u32string whole;
    for (const std::u32string& component : split(text_of(input), U'|')) {
        joined.join(encoded(component));
        if (component.starts_with(U'/')) whole.clear();
        whole += (whole.empty() || whole.ends_with(U'/') ? U"" : U"/") + component;
    }
    const std::size_t slashes = std::min(whole.find_first_not_of(U'/'), whole.size());
    const std::u32string root = slashes == 0 ? U"" : slashes == 2 ? U"//" : U"/";
    std::vector<std::u32string> names = split(whole, U'/');
    std::erase_if(names, [](const std::u32string& name) { return name.empty() || name == U"."; });
    require(joined.text() == written(root, names));
    if (!names.empty()) names.pop_back();
    require(parent_of(joined.text()) == written(root, names));
}

using Score = std::tuple<std::size_t, std::size_t, std::size_t, std::vector<Candidate>>;

std::optional<Score> score(const std::vector<Directories>& agents, const std::vector<Candidate>& selection) {
    Score score(0, 0, selection.size(), selection);
    for (const Directories& directories : agents) {
        std::vector<std::size_t> hits;
        for (std::size_t i = 0; i < directories.size(); i++)
            if (std::ranges::find(selection, directories[i]) != selection.end()) hits.push_back(i);
        if (hits.empty()) return {};
        std::get<0>(score) += hits.size() - 1;
        std::get<1>(score) += hits.front();
    }
    return score;
}

// Compares best_selection with the best of all subsets.
void planning(Input input) {
    const std::size_t candidates = input.empty() ? 1 : input[0] % 10 + 1;
    std::vector<std::vector<Candidate>> lists;
    bool is_new = true;
    for (const std::uint8_t byte : input) {
        if (std::exchange(is_new, byte % 16 >= candidates) && !is_new) lists.emplace_back();
        if (!is_new) lists.back().push_back(byte % 16);
    }
    const std::vector<Directories> agents(lists.begin(), lists.end());
    std::optional<Score> best;
    for (std::size_t subset = 0; subset < std::size_t{1} << candidates; subset++) {
        std::vector<Candidate> selection;
        for (std::size_t i = 0; i < candidates; i++)
            if ((subset >> i & 1U) != 0) selection.push_back(static_cast<Candidate>(i));
        const auto now = score(agents, selection);
        if (now && (!best || *now < *best)) best = now;
    }
    require(best_selection(agents, candidates, [] {}) == std::get<3>(*best));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TARGET({data, size});
    return 0;
}
