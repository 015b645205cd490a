// Test which documents the shape check rejects. The build runs the check on the real documents.
#include <cstdio>
#include <string>
#include <string_view>

#include "core/document_shape.hpp"

namespace {

struct Change {
    std::string_view from;
    std::string_view to;
    std::string_view fault;  // part of the check's message; empty if it accepts the document
};

constexpr Change changes[] = {
    {"Text", "T\u00e9xt", ""},
    {"Text", "Text\r", "line feeds"},
    {"Text", "{text}", "only pair of braces"},
    {"Text", "\xED\xA0\x80", "UTF-8"},
    {"name: a-skill", "name: a-skills", "skill's name"},
    {"---\nname", "\n---\nname", "skill's name"},
    {"\nversion:", "\n version:", "version line"},
    {"version: {version}\n---\n", "---\nversion: {version}\n", "version line"},
};

std::string_view fault_of(std::string_view name, std::string_view text) {
    try {
        tarnel::core::check_shape({name, text});
        return {};
    } catch (const tarnel::core::ShapeFault& fault) {
        return fault.what;
    }
}

}  // namespace

int main() {
    int failed = fault_of("A_skill", "").starts_with("a name") ? 0 : 1;
    for (const auto& [from, to, fault] : changes) {
        std::string text = "---\nname: a-skill\ndescription: >-\n  When.\nversion: {version}\n---\n\nText\n";
        text.replace(text.find(from), from.size(), to);
        const std::string_view found = fault_of("a-skill", text);
        if (fault.empty() ? found.empty() : found.find(fault) != std::string_view::npos) continue;
        std::printf("%s: found \"%s\"\n", text.c_str(), found.data());
        failed++;
    }
    return failed;
}
