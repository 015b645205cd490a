// The documents as they are built in, and what the check of their shape refuses.
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "core/document_shape.hpp"
#include "core/documents.hpp"

namespace {

using tarnel::core::Document;

int passed = 0;
int failed = 0;

// The fault that the check names, or nothing.
std::string_view fault_of(std::string_view name, std::string_view text) {
    try {
        tarnel::core::check_shape(Document{name, text});
        return {};
    } catch (const tarnel::core::ShapeFault& fault) {
        return fault.what;
    }
}

void expect(std::string_view what, std::string_view found, std::string_view part_of_fault) {
    const bool holds = part_of_fault.empty() ? found.empty() : found.find(part_of_fault) != std::string_view::npos;
    (holds ? passed : failed)++;
    if (!holds)
        std::printf("%.*s: found \"%.*s\", not \"%.*s\"\n", static_cast<int>(what.size()), what.data(),
                    static_cast<int>(found.size()), found.data(), static_cast<int>(part_of_fault.size()),
                    part_of_fault.data());
}

std::string well_formed() {
    return "---\nname: a-skill\ndescription: >-\n  When to use it,\n  and how.\nversion: {version}\n---\n\n"
           "# a-skill \u2014 a subtitle\n\nText with an ellipsis\u2026\n";
}

struct Change {
    std::string_view what;
    std::string_view from;
    std::string_view to;
    std::string_view fault;
};

std::string with(const Change& change) {
    std::string text = well_formed();
    return text.replace(text.find(change.from), change.from.size(), change.to);
}

void the_check_names_the_rule_that_a_change_breaks() {
    const std::string long_line = "  " + std::string(1023, 'x') + "\n  y\n";
    const std::vector<Change> changes = {
        {"no change", "Text", "Text", ""},
        {"a description of 1024 characters, in many more bytes", "  and how.\n", "", ""},
        {"a line end of another system", "how.\n", "how.\r\n", "line feeds"},
        {"a tab", "Text", "\tText", "tabs"},
        {"a trailing space", "how.\n", "how. \n", "ends in a space"},
        {"a second field", "Text", "{text}", "only pair of braces"},
        {"no line feed at the end", "\u2026\n", "\u2026", "one line feed"},
        {"two line feeds at the end", "\u2026\n", "\u2026\n\n", "one line feed"},
        {"something before the front matter", "---\nname", "\n---\nname", "first line"},
        {"another name", "name: a-skill", "name: b-skill", "second line"},
        {"an unfolded description", ">-", "|", "folded"},
        {"no description", "  When to use it,\n  and how.\n", "", "empty"},
        {"a description that is too long", "  When to use it,\n  and how.\n", long_line, "1024"},
        {"an indented version line", "\nversion:", "\n version:", "version line follows"},
        {"a version line in the body", "version: {version}\n---\n", "---\nversion: {version}\n",
         "version line follows"},
        {"something behind the version line", "---\n\n", "x\n---\n\n", "front matter ends"},
        {"no empty line before the body", "---\n\n", "---\n", "empty line"},
        {"a heading of the second level", "# a-skill", "## a-skill", "heading"},
        {"a heading with another name", "# a-skill", "# b-skill", "heading begins"},
        {"a hyphen for the dash", "\u2014", "-", "em dash"},
    };
    for (const Change& change : changes) expect(change.what, fault_of("a-skill", with(change)), change.fault);
}

void the_check_refuses_names_that_agents_do_not_take() {
    const std::string too_long(65, 'a');
    for (const std::string_view name : {"", "A-skill", "a_skill", "a--skill", "-skill", "skill-", too_long.c_str()})
        expect(name.empty() ? "an empty name" : name, fault_of(name, well_formed()), "name");
    expect("the front matter's end", fault_of("a-skill", "---\nname: a-skill{}\n"), "second line");
    expect("a text that breaks off", fault_of("a-skill", "---\nname: a-skill\ndescription: >-\n  {}\n"),
           "inside its front");
}

void the_documents_that_are_built_in_keep_their_shape_and_order() {
    for (const Document& document : tarnel::core::documents)
        expect(document.name, fault_of(document.name, document.text), "");
    expect("the primary skill comes first", tarnel::core::documents[0].name, "tarnel");
    expect("the map skill second", tarnel::core::documents[1].name, "tarnel-map");
    expect("the wiki skill third", tarnel::core::documents[2].name, "tarnel-wiki");
}

}  // namespace

int main() {
    the_check_names_the_rule_that_a_change_breaks();
    the_check_refuses_names_that_agents_do_not_take();
    the_documents_that_are_built_in_keep_their_shape_and_order();
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
