// Version keys are the leading numbers of the pieces, and compare as tuples do.
#include <algorithm>
#include <utility>
#include <vector>

#include "texts.hpp"

namespace {

// A number as its digits without zeros before them: the longer one is the larger.
using Number = std::pair<std::size_t, std::string>;

std::optional<Number> number_of(std::u32string_view piece) {
    std::string digits;
    std::size_t count = 0;
    for (; count < piece.size() && fuzz::digit(piece[count]); count++)
        if (*fuzz::digit(piece[count]) > 0 || !digits.empty()) digits += std::to_string(*fuzz::digit(piece[count]));
    return count > 18 ? std::nullopt : std::optional(Number(digits.size(), digits));
}

std::optional<std::vector<Number>> key_of(std::u32string_view version) {
    std::vector<Number> key;
    for (std::size_t start = 0, end = 0; end != version.npos; start = end + 1) {
        end = version.find(U'.', start);
        const auto number = number_of(version.substr(start, end == version.npos ? end : end - start));
        if (!number) return {};
        key.push_back(*number);
    }
    return key;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u32string text = fuzz::text_of({data, size});
    const std::u32string left = text.substr(0, text.find(U'|'));
    const std::u32string right = text.substr(std::min(left.size() + 1, text.size()));
    const auto left_key = key_of(left);
    const auto right_key = key_of(right);
    const std::string left_utf8 = fuzz::encoded(left);
    const auto order = tarnel::core::compare_versions(left_utf8, fuzz::encoded(right), fuzz::classes);
    fuzz::require(order.has_value() == (left_key && right_key) && (!order || *order == (*left_key <=> *right_key)));

    std::string_view rest = left_utf8;
    for (std::size_t i = 0; left_key && i < left_key->size(); i++) {
        const std::string& digits = (*left_key)[i].second;
        fuzz::require(tarnel::core::take_number(rest, fuzz::classes) == (digits.empty() ? 0 : std::stoull(digits)));
    }
    fuzz::require(!left_key || rest.empty());
    return 0;
}
