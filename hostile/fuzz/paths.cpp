// Paths are joined as posixpath joins them, and written as pathlib writes them once they are whole.
#include <algorithm>
#include <vector>

#include "core/paths.hpp"
#include "texts.hpp"

namespace {

struct Path {
    std::string root;
    std::vector<std::string> parts;
};

Path parsed(const std::string& path) {
    Path result;
    const std::size_t slashes = std::min(path.find_first_not_of('/'), path.size());
    if (slashes > 0) result.root = slashes == 2 ? "//" : "/";
    std::string part;
    for (const char byte : path + '/') {
        if (byte != '/') {
            part += byte;
            continue;
        }
        if (!part.empty() && part != ".") result.parts.push_back(part);
        part.clear();
    }
    return result;
}

std::string written(const Path& path) {
    std::string text = path.root;
    for (const std::string& part : path.parts) text += (&part == path.parts.data() ? "" : "/") + part;
    return text.empty() ? "." : text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tarnel::core::PathText joined;
    std::string whole;
    std::string text = fuzz::encoded(fuzz::text_of({data, size})) + '|';
    for (std::size_t end = 0; (end = text.find('|')) != text.npos; text.erase(0, end + 1)) {
        const std::string component = text.substr(0, end);
        joined.join(component);
        const bool is_absolute = component.starts_with('/');
        const bool has_separator = whole.empty() || whole.ends_with('/');
        whole = is_absolute ? component : whole + (has_separator ? "" : "/") + component;
    }
    Path path = parsed(whole);
    fuzz::require(joined.text() == written(path));
    if (!path.parts.empty()) path.parts.pop_back();
    fuzz::require(tarnel::core::parent_of(joined.text()) == written(path));
    return 0;
}
