// The module `skill`: what importing it binds, in order.
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "core/documents.hpp"
#include "python/boundary.hpp"
#include "python/function.hpp"
#include "python/imports.hpp"
#include "skill/functions.hpp"
#include "skill/names.hpp"
#include "skill/planning.hpp"
#include "skill/result.hpp"
#include "skill/stamps.hpp"

namespace tarnel::skill {

namespace {

using python::checked;
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

// The module's namespace, in the making.
class Namespace {
  public:
    explicit Namespace(PyObject* module) : dict_(PyModule_GetDict(module)) {}

    [[nodiscard]] PyObject* dict() const noexcept { return dict_; }
    [[nodiscard]] Ref operator[](const char* name) const { return python::look_up(dict_, name); }
    void bind(const char* name, const Ref& value) const { checked(PyDict_SetItemString(dict_, name, value)); }
    void bind_text(const char* name, std::string_view utf8) const {
        bind(name, checked(PyUnicode_FromStringAndSize(utf8.data(), static_cast<Py_ssize_t>(utf8.size()))));
    }

  private:
    PyObject* dict_;
};

void bind_imports(PyObject* globals) {
    python::import_from(globals, "__future__", "annotations");
    python::import_module(globals, "itertools");
    python::import_module(globals, "re");
    python::import_from(globals, "collections.abc", "Iterable");
    python::import_from(globals, "dataclasses", "dataclass");
    python::import_from(globals, "pathlib", "Path");
    python::import_from(globals, "muvad_tarnel", "__version__");
    python::import_from(globals, "muvad_tarnel.setup.config", "AGENT_CONFIG");
}

struct DocumentNames {
    const char* skill_name;
    const char* text;
};
constexpr std::array<DocumentNames, core::document_count> document_names = {
    {{"SKILL_DIR_NAME", "_SKILL_TEMPLATE"},
     {"MAP_SKILL_DIR_NAME", "_MAP_SKILL_TEMPLATE"},
     {"WIKI_SKILL_DIR_NAME", "_WIKI_SKILL_TEMPLATE"}}};

void bind_documents(const Namespace& module, PyObject* annotations, std::vector<Ref>& recognized) {
    for (std::size_t i = 0; i < core::document_count; i++) {
        module.bind_text(document_names[i].skill_name, core::documents[i].name);
        module.bind_text(document_names[i].text, core::documents[i].text);
    }
    const Ref templates = checked(PyDict_New());
    for (const auto& [skill_name, text] : document_names) {
        const Ref key = module[skill_name];
        const Ref value = module[text];
        checked(PyDict_SetItem(templates, key, value));
        recognized.push_back(Ref::borrow(value));
    }
    module.bind("SKILL_TEMPLATES", templates);
    const Ref annotation = checked(PyUnicode_InternFromString("dict[str, str]"));
    checked(PyDict_SetItemString(annotations, "SKILL_TEMPLATES", annotation));
}

void execute(const Namespace& module) {
    const auto shared = std::make_shared<python::Shared>(std::span<const char* const>(strings));
    const auto define = [&](const python::Definition& definition) {
        python::define(module.dict(), definition, shared);
    };

    // As when a Python module is executed; creating the data class would put it in the middle.
    module.bind("__builtins__", Ref::borrow(PyEval_GetBuiltins()));
    const Ref annotations = checked(PyDict_New());
    module.bind("__annotations__", annotations);
    bind_imports(module.dict());
    bind_documents(module, annotations, shared->recognized);
    define(function::render_skill_md);
    define(function::skill_capable_agents);
    define(function::_agent_roots);
    module.bind("_EXHAUSTIVE_SEARCH_LIMIT", checked(PyLong_FromLong(default_exhaustive_search_limit)));
    module.bind("_Score", score_alias());
    define(function::_score);
    define(function::resolve_skill_dirs);
    define(function::skill_dir_plan);
    define_skill_result(module.dict());
    const Ref pattern = compile_version_pattern(module.dict());
    module.bind("_VERSION_RE", pattern);
    shared->recognized.push_back(recognized_version_pattern(pattern));
    add_result_keywords(shared->recognized);
    define(function::_installed_version);
    define(function::_version_tuple);
    module.bind("DEFAULT_AGENTS", checked(Py_BuildValue("(s)", "claude")));
    define(function::_scope_base);
    define(function::skill_target_path);
    define(function::install_skill);
    define(function::install_skills);
    define(function::_reading_agents);
    define(function::skill_status);
    define(function::shadowed_skills);
}

// The C++ runtime takes a reserve for exceptions when it is loaded, and goes on without if there is none. An allocation
// that fails then ends the process. Where there is no room for as much now, the reserve has to be doubted.
bool has_reserve_for_exceptions() noexcept {
    constexpr std::size_t size = 73'000;
    void* volatile room = std::malloc(size);  // volatile: else the compiler leaves the allocation out
    std::free(room);
    return room != nullptr;
}

int execute_slot(PyObject* module) noexcept {
    if (!has_reserve_for_exceptions()) {
        PyErr_NoMemory();
        return -1;
    }
    const Ref done = Ref::steal(python::guarded([module] {
        execute(Namespace(module));
        return python::Ref::borrow(Py_None);
    }));
    return done.get() == nullptr ? -1 : 0;
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execute_slot)},
                            {Py_mod_multiple_interpreters, Py_MOD_PER_INTERPRETER_GIL_SUPPORTED},
                            {0, nullptr}};

// The module has no state of its own: what its functions need hangs on the functions, which may outlive it.
PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "skill", module_doc, 0, nullptr, slots, nullptr, nullptr, nullptr,
};

}  // namespace

}  // namespace tarnel::skill

PyMODINIT_FUNC PyInit_skill() { return PyModuleDef_Init(&tarnel::skill::definition); }
