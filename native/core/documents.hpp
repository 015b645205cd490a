// The skill documents that are built into the module: templates with one field for the version.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace tarnel::core {

struct Document {
    std::string_view name;  // the skill's name, its directory's name and its front matter's `name`
    std::string_view text;  // the template: UTF-8, line feeds only, with one `{version}` field
};

inline constexpr std::size_t document_count = 3;

// The primary skill, the map skill and the wiki skill, in this order.
extern const std::array<Document, document_count> documents;

}  // namespace tarnel::core
