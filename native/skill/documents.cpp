#include "skill/documents.hpp"

#include <algorithm>

#include "core/documents.hpp"
#include "skill/body.hpp"
#include "skill/recognized.hpp"

namespace tarnel::skill {

namespace {

// The built-in document whose template is `SKILL_TEMPLATES[skill_name]`, else null.
const core::Document* built_in_document(const CallContext& context, PyObject* skill_name) {
    PyObject* templates = context.global_if_plain(name::SKILL_TEMPLATES);
    if (templates == nullptr || !PyDict_CheckExact(templates) || !PyUnicode_CheckExact(skill_name)) return nullptr;
    const Ref text = python::item_if_any(templates, skill_name);
    for (std::size_t i = 0; i < core::document_count; i++)
        if (text.get() == context.recognized(recognized::first_template + i)) return &core::documents[i];
    return nullptr;
}

// The fast path of `render_skill_md`; null if it doesn't apply. Copies the template around its only field.
Ref render_built_in(const CallContext& context, PyObject* version, PyObject* skill_name) {
    const core::Document* document = built_in_document(context, skill_name);
    if (document == nullptr || !PyUnicode_CheckExact(version)) return {};
    PyObject* text =
        context.recognized(recognized::first_template + static_cast<std::size_t>(document - core::documents.data()));
    const auto start = static_cast<Py_ssize_t>(document->characters_before_field);
    const Py_ssize_t end = start + static_cast<Py_ssize_t>(core::version_field.size());
    const Py_ssize_t length = PyUnicode_GET_LENGTH(version);
    const Py_ssize_t rest = PyUnicode_GET_LENGTH(text) - end;
    Ref rendered = checked(PyUnicode_New(start + length + rest,
                                         std::max(PyUnicode_MAX_CHAR_VALUE(text), PyUnicode_MAX_CHAR_VALUE(version))));
    checked(PyUnicode_CopyCharacters(rendered, 0, text, 0, start));
    checked(PyUnicode_CopyCharacters(rendered, start, version, 0, length));
    checked(PyUnicode_CopyCharacters(rendered, start + length, text, end, rest));
    return rendered;
}

Ref render_skill_md(const CallContext& context) {
    const auto [version, skill_name] = context.arguments<2>();
    if (Ref text = render_built_in(context, version, skill_name); text.get() != nullptr) return text;
    const Ref templates = context.global(name::SKILL_TEMPLATES);
    const Ref text = checked(PyObject_GetItem(templates, skill_name));
    return context.call_method(text, name::format, {}, {{name::version, version}});
}

}  // namespace

std::optional<std::string> rendered_in_utf8(const CallContext& context, PyObject* skill_name) {
    if (!context.is_own(name::render_skill_md, skill::render_skill_md)) return {};
    const core::Document* document = built_in_document(context, skill_name);
    const auto* function = reinterpret_cast<PyFunctionObject*>(context.global_if_plain(name::render_skill_md));
    if (document == nullptr || function->func_defaults == nullptr || PyTuple_GET_SIZE(function->func_defaults) != 2)
        return {};
    const auto version = python::utf8_of(PyTuple_GET_ITEM(function->func_defaults, 0));
    if (!version) return {};
    return core::render(*document, *version);
}

constinit const python::Definition function::render_skill_md = {
    .name = "render_skill_md",
    .parameters = {{"version", "str", python::value_of("__version__")},
                   {"skill_name", "str", python::value_of("SKILL_DIR_NAME")}},
    .returns = "str",
    .doc = "The SKILL.md content stamped with the given package version.",
    .body = skill::render_skill_md,
};

}  // namespace tarnel::skill
