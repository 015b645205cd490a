#include "core/paths.hpp"

#include <algorithm>

namespace tarnel::core {

namespace {

constexpr char separator = '/';

// Exactly two leading slashes are a root distinct from `/`; one, or more than two, mean `/`.
std::size_t length_of_root(std::string_view path) {
    const std::size_t slashes = std::min(path.find_first_not_of(separator), path.size());
    return slashes == 2 ? 2 : std::min<std::size_t>(slashes, 1);
}

}  // namespace

void PathText::join(std::string_view component) {
    if (component.starts_with(separator)) {
        root_ = length_of_root(component);
        text_.assign(component, 0, root_);
        size_ = 0;
    }
    for (std::size_t start = 0; start < component.size();) {
        const std::size_t end = std::min(component.find(separator, start), component.size());
        const std::string_view name = component.substr(start, end - start);
        start = end + 1;
        if (name.empty() || name == ".") continue;
        if (text_.size() > root_) text_ += separator;
        text_ += name;
        size_++;
    }
}

std::string_view parent_of(std::string_view text) {
    const std::size_t root = length_of_root(text);
    const std::size_t slash = text.rfind(separator);
    if (slash == std::string_view::npos || text.size() == root) return root > 0 ? text : ".";
    return text.substr(0, std::max(slash, root));
}

}  // namespace tarnel::core
