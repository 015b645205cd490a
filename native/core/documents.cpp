#include "core/documents.hpp"

#include "core/document_shape.hpp"
#include "embedded_documents.inc"  // made from skills/ by the build: embedded::documents

namespace tarnel::core {

namespace {

constexpr bool every_shape_holds() {
    for (const Document& document : embedded::documents) check_shape(document);
    return true;
}

static_assert(every_shape_holds(), "a document under skills/ has lost its shape");

}  // namespace

constinit const std::array<Document, document_count> documents = embedded::documents;

std::string render(const Document& document, std::string_view version) {
    std::string rendered;
    rendered.reserve(document.text.size() + version.size());
    rendered += document.text.substr(0, document.field);
    rendered += version;
    rendered += document.text.substr(document.field + version_field.size());
    return rendered;
}

}  // namespace tarnel::core
