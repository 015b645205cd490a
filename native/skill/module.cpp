// The module `skill`: the names that its import binds, in order.
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "core/documents.hpp"
#include "python/boundary.hpp"
#include "python/function.hpp"
#include "python/imports.hpp"
#include "python/objects.hpp"
#include "skill/functions.hpp"
#include "skill/names.hpp"
#include "skill/planning.hpp"
#include "skill/result.hpp"
#include "skill/stamps.hpp"

namespace tarnel::skill {

namespace {

using python::checked;
using python::integer;
using python::Namespace;
using python::Ref;

constexpr char module_doc[] = R"(Embedded `tarnel` agent skill + installer.

The skill is the adoption layer for agents that under-use the semantic index.
Static instructions (CLAUDE.md, session-start context) decay over a long session;
a skill's trigger description is put before the agent at the moment it decides
how to go about a task. The text is a constant of this module rather than package
data, so every form in which the host is distributed carries the same one, and
``muvad-tarnel skill install --scope user|project`` puts it where agents look.

Version stamping: the front matter carries the package version, and
`install_skill` overwrites an existing file only when that file is older (or with
``force=True``). So an upgrade refreshes the skill, and installing once more when
nothing has changed leaves every copy as it is.
)";

void bind_imports(Namespace& module) {
    python::import_from(module, "__future__", "annotations");
    python::import_module(module, "itertools");
    python::import_module(module, "re");
    python::import_from(module, "collections.abc", "Iterable");
    python::import_from(module, "dataclasses", "dataclass");
    python::import_from(module, "pathlib", "Path");
    python::import_from(module, "muvad_tarnel", "__version__");
    python::import_from(module, "muvad_tarnel.setup.config", "AGENT_CONFIG");
}

struct DocumentNames {
    const char* skill_name;
    const char* text;
};
constexpr std::array<DocumentNames, core::document_count> document_names = {
    {{"SKILL_DIR_NAME", "_SKILL_TEMPLATE"},
     {"MAP_SKILL_DIR_NAME", "_MAP_SKILL_TEMPLATE"},
     {"WIKI_SKILL_DIR_NAME", "_WIKI_SKILL_TEMPLATE"}}};

void bind_documents(Namespace& module, PyObject* annotations, std::vector<Ref>& recognized) {
    const Ref templates = checked(PyDict_New());
    for (std::size_t i = 0; i < core::document_count; i++) {
        const auto& [name, text] = document_names[i];
        const Ref skill_name = python::text_of(core::documents[i].name);
        const std::u16string_view characters = core::documents_in_utf16[i];
        Ref document = checked(PyUnicode_FromKindAndData(PyUnicode_2BYTE_KIND, characters.data(),
                                                         static_cast<Py_ssize_t>(characters.size())));
        module.bind(name, skill_name);
        module.bind(text, document);
        checked(PyDict_SetItem(templates, skill_name, document));
        recognized.push_back(std::move(document));
    }
    module.bind("SKILL_TEMPLATES", templates);
    checked(PyDict_SetItem(annotations, module.literal("SKILL_TEMPLATES"), module.literal("dict[str, str]")));
}

void execute(Namespace& module) {
    const auto shared = std::make_shared<python::Shared>(std::span<const char* const>(strings));
    const auto define = [&](const python::Definition& definition) { python::define(module, definition, shared); };

    // Bound first, as in a Python module. Otherwise, creating the data class would add it in the middle.
    module.bind("__builtins__", PyEval_GetBuiltins());
    const Ref annotations = checked(PyDict_New());
    module.bind("__annotations__", annotations);
    bind_imports(module);
    bind_documents(module, annotations, shared->recognized);
    define(function::render_skill_md);
    define(function::skill_capable_agents);
    define(function::_agent_roots);
    const Ref limit = integer(default_exhaustive_search_limit);
    module.bind("_EXHAUSTIVE_SEARCH_LIMIT", limit);
    const Ref alias = score_alias();
    module.bind("_Score", alias);
    define(function::_score);
    define(function::resolve_skill_dirs);
    define(function::skill_dir_plan);
    define_skill_result(module);
    const Ref pattern = compile_version_pattern(module);
    module.bind("_VERSION_RE", pattern);
    shared->recognized.push_back(recognized_version_pattern(pattern));
    add_result_keywords(module, shared->recognized);
    define(function::_installed_version);
    define(function::_version_tuple);
    const Ref agents = python::tuple_of({module.literal("claude")});
    module.bind("DEFAULT_AGENTS", agents);
    define(function::_scope_base);
    define(function::skill_target_path);
    define(function::install_skill);
    define(function::install_skills);
    define(function::_reading_agents);
    define(function::skill_status);
    define(function::shadowed_skills);
}

int execute_slot(PyObject* module) noexcept {
    const Ref done = Ref::steal(python::guarded([module] {
        Namespace names(module);
        execute(names);
        return python::Ref::borrow(Py_None);
    }));
    return done.get() == nullptr ? -1 : 0;
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execute_slot)},
                            {Py_mod_multiple_interpreters, Py_MOD_PER_INTERPRETER_GIL_SUPPORTED},
                            {0, nullptr}};

// The module has no state. Its functions own what they need, because they may outlive it.
PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "skill", module_doc, 0, nullptr, slots, nullptr, nullptr, nullptr,
};

}  // namespace

}  // namespace tarnel::skill

PyMODINIT_FUNC PyInit_skill() { return PyModuleDef_Init(&tarnel::skill::definition); }
