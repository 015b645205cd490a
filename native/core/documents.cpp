#include "core/documents.hpp"

#include "core/document_shape.hpp"
#include "embedded_documents.inc"  // generated from skills/; defines embedded::documents

namespace tarnel::core {

namespace {

constexpr bool every_shape_holds() {
    for (const Document& document : embedded::documents) check_shape(document);
    return true;
}
static_assert(every_shape_holds(), "a document under skills/ has lost its shape");

constexpr bool every_character_has_two_bytes() {
    for (std::size_t i = 0; i < document_count; i++) {
        const auto starts = [](char byte) { return !utf8::is_continuation(byte); };
        const auto characters = std::ranges::count_if(embedded::documents[i].text, starts);
        if (static_cast<std::size_t>(characters) != embedded::documents_in_utf16[i].size()) return false;
    }
    return true;
}
static_assert(every_character_has_two_bytes(), "a document under skills/ has a character above U+FFFF");

}  // namespace

constinit const std::array<Document, document_count> documents = embedded::documents;
constinit const std::array<std::u16string_view, document_count> documents_in_utf16 = embedded::documents_in_utf16;

std::string render(const Document& document, std::string_view version) {
    std::string rendered;
    rendered.reserve(document.text.size() + version.size());
    rendered += document.text.substr(0, document.field);
    rendered += version;
    rendered += document.text.substr(document.field + version_field.size());
    return rendered;
}

}  // namespace tarnel::core
