// The skill documents built into the module: templates with one version field.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "core/utf8.hpp"

namespace tarnel::core {

inline constexpr std::string_view version_field = "{version}";

struct Document {
    constexpr Document(std::string_view its_name, std::string_view its_text)
        : name(its_name), text(its_text), field(its_text.find(version_field)) {
        for (const char byte : text.substr(0, field))
            if (!utf8::is_continuation(byte)) characters_before_field++;
    }

    std::string_view name;  // the skill's name, also its directory name and the front matter's `name`
    std::string_view text;  // the template: UTF-8, line feeds only, with one `version_field`
    std::size_t field;      // byte offset of the field
    std::size_t characters_before_field = 0;
};

inline constexpr std::size_t document_count = 3;

// The primary, map and wiki skills, in that order.
extern const std::array<Document, document_count> documents;

// The same texts in UTF-16, because the interpreter stores them with two bytes per character.
extern const std::array<std::u16string_view, document_count> documents_in_utf16;

// The document with the version filled in.
[[nodiscard]] std::string render(const Document& document, std::string_view version);

}  // namespace tarnel::core
