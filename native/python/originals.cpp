#include "python/originals.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "python/objects.hpp"

namespace tarnel::python {

using standard_library::Attribute;
using standard_library::Class;
using standard_library::Kind;
using standard_library::Member;
using standard_library::Name;

namespace {

// The module if it has been imported, else null.
Ref imported_module(const char* name) {
    const Ref key = interned(name);
    Ref module = Ref::steal(PyImport_GetModule(key));
    if (module.get() == nullptr && PyErr_Occurred() != nullptr) throw PythonError{};
    if (module.get() != nullptr && !PyModule_CheckExact(module.get())) return {};
    return module;
}

bool is_text(PyObject* object, const char* utf8) {
    return object != nullptr && utf8_of(object) == std::string_view(utf8);
}

bool contains_text(PyObject* text, std::string_view part) {
    const auto utf8 = utf8_of(text);
    return utf8 && utf8->find(part) != std::string_view::npos;
}

// Whether the object is a Python function of the module, with its own code from the module's file.
bool is_function_of(PyObject* object, const char* module_name, const char* qualified_name) {
    if (!PyFunction_Check(object)) return false;
    const Ref module = imported_module(module_name);
    if (module.get() == nullptr || PyModule_GetDict(module) != PyFunction_GET_GLOBALS(object)) return false;
    const auto* code = reinterpret_cast<PyCodeObject*>(PyFunction_GET_CODE(object));
    const std::string_view path = module_name;
    return is_text(code->co_qualname, qualified_name) &&
           contains_text(code->co_filename, path.substr(path.rfind('.') + 1));
}

bool is_builtin_of(PyObject* object, const char* module_name, const char* name) {
    if (!PyCFunction_CheckExact(object)) return false;
    const auto* function = reinterpret_cast<PyCFunctionObject*>(object);
    return std::string_view(function->m_ml->ml_name) == name && is_text(function->m_module, module_name);
}

bool is_type_named(PyObject* object, const char* name, bool is_built_in) {
    if (!PyType_Check(object)) return false;
    const auto* type = reinterpret_cast<PyTypeObject*>(object);
    const bool immutable = (type->tp_flags & Py_TPFLAGS_IMMUTABLETYPE) != 0;
    return immutable == is_built_in && std::string_view(type->tp_name) == name;
}

bool is_python_class_of(PyObject* object, const char* module_name, const char* name) {
    if (!is_type_named(object, name, false)) return false;
    const Ref dict = checked(PyType_GetDict(reinterpret_cast<PyTypeObject*>(object)));
    const Ref module = item_if_any(dict, "__module__");
    return is_text(module, module_name);
}

bool is_tuple_of_ignored_errnos(PyObject* object) {
    constexpr std::array ignored = {ENOENT, ENOTDIR, EBADF, ELOOP};
    const Ref expected = checked(PyTuple_New(std::ssize(ignored)));
    for (std::size_t i = 0; i < ignored.size(); i++)
        PyTuple_SET_ITEM(expected.get(), static_cast<Py_ssize_t>(i), integer(ignored[i]).release());
    return PyTuple_CheckExact(object) && compare(object, expected, Py_EQ);
}

bool is_cached_function_of(PyObject* object, const char* module_name, const char* name) {
    if (std::string_view(Py_TYPE(object)->tp_name) != "functools._lru_cache_wrapper") return false;
    const Ref function = attribute(object, "__wrapped__");
    return is_function_of(function, module_name, name);
}

bool is_instance_of(PyObject* object, const char* module_name, const char* class_name) {
    const Ref module = imported_module(module_name);
    if (module.get() == nullptr) return false;
    const Ref type = item_if_any(PyModule_GetDict(module), class_name);
    return type.get() == reinterpret_cast<PyObject*>(Py_TYPE(object));
}

bool is_original(PyObject* object, const Name& name) {
    switch (name.kind) {
        case Kind::function:
            return is_function_of(object, name.module, name.name);
        case Kind::builtin:
            return is_builtin_of(object, name.origin, name.name);
        case Kind::static_type:
            return is_type_named(object, name.origin, true);
        case Kind::python_class:
            return is_python_class_of(object, name.origin, name.name);
        case Kind::module:
            return object == imported_module(name.origin).get();
        case Kind::text:
            return is_text(object, name.origin);
        case Kind::none:
            return object == Py_None;
        case Kind::ignored_errnos:
            return is_tuple_of_ignored_errnos(object);
        case Kind::cached_function:
            return is_cached_function_of(object, name.module, name.name);
        case Kind::dictionary:
            return PyDict_CheckExact(object);
        case Kind::instance:
            return is_instance_of(object, name.module, name.origin);
    }
    return false;
}

// The unbound value of a class attribute, and the class or base whose namespace has it.
struct Found {
    Ref value;
    Ref owner;
};

Found find_in_bases(PyObject* type, PyObject* name) {
    const Ref bases = Ref::borrow(reinterpret_cast<PyTypeObject*>(type)->tp_mro);
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(bases.get()); i++) {
        PyObject* base = PyTuple_GET_ITEM(bases.get(), i);
        const Ref dict = checked(PyType_GetDict(reinterpret_cast<PyTypeObject*>(base)));
        Ref value = item_if_any(dict, name);
        if (value.get() != nullptr) return {std::move(value), Ref::borrow(base)};
    }
    return {};
}

// The function that a property, class method or static method wraps; else the object itself.
Ref function_inside(PyObject* object, Member kind) {
    auto* type = reinterpret_cast<PyObject*>(Py_TYPE(object));
    const bool is_property = is_type_named(type, "property", true);
    const bool is_method = is_type_named(type, "classmethod", true) || is_type_named(type, "staticmethod", true);
    if (kind == Member::property && is_property) return attribute(object, "fget");
    if ((kind == Member::class_method || kind == Member::static_method) && is_method)
        return attribute(object, "__func__");
    return Ref::borrow(object);
}

bool has_defaults(PyObject* function, const char* expected) {
    PyObject* defaults = PyFunction_GET_DEFAULTS(function);
    PyObject* keyword_defaults = PyFunction_GET_KW_DEFAULTS(function);
    const Ref both =
        tuple_of({defaults == nullptr ? Py_None : defaults, keyword_defaults == nullptr ? Py_None : keyword_defaults});
    const Ref text = checked(PyObject_Str(both));
    return is_text(text, expected);
}

bool is_original_function(PyObject* function, PyObject* owner, const Attribute& attribute) {
    const Ref dict = checked(PyType_GetDict(reinterpret_cast<PyTypeObject*>(owner)));
    const Ref module = item_if_any(dict, "__module__");
    if (module.get() == nullptr || !PyUnicode_CheckExact(module.get())) return false;
    const Ref qualified_name =
        checked(PyUnicode_FromFormat("%s.%s", reinterpret_cast<PyTypeObject*>(owner)->tp_name, attribute.name));
    const bool is_abstract = is_text(module, "collections.abc");  // defined in another module
    const char* module_name = is_abstract ? "_collections_abc" : PyUnicode_AsUTF8AndSize(module, nullptr);
    const char* name = PyUnicode_AsUTF8AndSize(qualified_name, nullptr);
    if (module_name == nullptr || name == nullptr) throw PythonError{};
    return is_function_of(function, module_name, name) && has_defaults(function, attribute.defaults);
}

bool is_original(const Found& found, const Attribute& attribute) {
    if (attribute.kind == Member::missing || found.value.get() == nullptr)
        return (attribute.kind == Member::missing) == (found.value.get() == nullptr);
    PyObject* value = found.value;
    switch (attribute.kind) {
        case Member::slot:
        case Member::field:
            return Py_IS_TYPE(value, &PyMemberDescr_Type);
        case Member::builtin:
            return PyCFunction_CheckExact(value);
        case Member::module:
            return PyModule_CheckExact(value);
        case Member::inherited:
            return PyType_HasFeature(reinterpret_cast<PyTypeObject*>(found.owner.get()), Py_TPFLAGS_IMMUTABLETYPE) != 0;
        case Member::yes:
            return value == Py_True;
        default: {
            const Ref function = function_inside(value, attribute.kind);
            return is_original_function(function, found.owner, attribute);
        }
    }
}

}  // namespace

void Originals::add_function(PyObject* object) {
    const auto* function = reinterpret_cast<PyFunctionObject*>(object);
    functions_.push_back({function, function->func_code, function->func_defaults, function->func_kwdefaults});
    for (PyObject* part : {object, function->func_code, function->func_defaults, function->func_kwdefaults})
        parts_.push_back(Ref::borrow(part));
}

bool Originals::functions_hold() const noexcept {
    for (const auto& [function, code, defaults, keyword_defaults] : functions_)
        if (function->func_code != code || function->func_defaults != defaults ||
            function->func_kwdefaults != keyword_defaults)
            return false;
    return true;
}

bool Originals::Attributes::is_tagged() const noexcept {
    const auto* object = reinterpret_cast<PyTypeObject*>(type.get());
    return version_tag != 0 && object->tp_version_tag == version_tag;
}

void Originals::Attributes::tag() noexcept {
    auto* object = reinterpret_cast<PyTypeObject*>(type.get());
    version_tag = PyUnstable_Type_AssignVersionTag(object) != 0 ? object->tp_version_tag : 0;
}

bool Originals::hold() {
    if (!is_found_) is_found_ = find();
    if (!is_found_) return false;
    if (has_changed()) {
        entries_hold_ = false;  // in case the comparison throws
        seen_changes_ = watcher_.changes();
        for (Attributes& attributes : attributes_) attributes.tag();
        entries_hold_ = compare();
    }
    return entries_hold_ && functions_hold();
}

bool Originals::has_changed() const noexcept {
    return !watcher_.is_active() || seen_changes_ != watcher_.changes() ||
           !std::ranges::all_of(attributes_, [](const Attributes& attributes) { return attributes.is_tagged(); });
}

bool Originals::compare() {
    for (const auto& [dict, key, value] : entries_) {
        const Ref now = item_if_any(dict, key);
        if (now.get() != value.get()) return false;
    }
    for (const Attributes& attributes : attributes_)
        for (const auto& [name, value] : attributes.values)
            if (find_in_bases(attributes.type, name).value.get() != value.get()) return false;
    return true;
}

bool Originals::find() {
    entries_.clear();  // left over from an earlier attempt
    functions_.clear();
    parts_.clear();
    attributes_.clear();
    if (!std::ranges::all_of(names_, [this](const Name& name) { return find_name(name); })) return false;
    if (!std::ranges::all_of(classes_, [this](const Class& definition) { return find_class(definition); }))
        return false;
    if (!std::ranges::all_of(builtins_, [this](const Name& name) { return find_name(name); })) return false;
    for (const Name& name : names_) {
        const bool is_first_of_module = &name == names_.data() || std::string_view((&name - 1)->module) != name.module;
        if (is_first_of_module && !find_no_hidden_builtins(name.module)) return false;
    }
    for (const Entry& entry : entries_) watcher_.watch(entry.dict);
    seen_changes_ = watcher_.changes() - 1;  // forces a comparison next time
    return true;
}

bool Originals::find_name(const Name& name) {
    const Ref module = imported_module(name.module);
    if (module.get() == nullptr) return false;
    PyObject* dict = PyModule_GetDict(module);
    Ref key = interned(name.name);
    Ref value = item_if_any(dict, key);
    if (value.get() == nullptr || !is_original(value, name)) return false;
    if (name.kind == Kind::function) add_function(value);
    entries_.push_back({Ref::borrow(dict), std::move(key), std::move(value)});
    return true;
}

// A name in a module hides the builtin of the same name.
bool Originals::find_no_hidden_builtins(const char* module_name) {
    const Ref module = imported_module(module_name);
    if (module.get() == nullptr) return false;
    PyObject* dict = PyModule_GetDict(module);
    for (const Name& builtin : builtins_) {
        Ref key = interned(builtin.name);
        if (item_if_any(dict, key).get() != nullptr) return false;
        entries_.push_back({Ref::borrow(dict), std::move(key), Ref()});
    }
    return true;
}

bool Originals::find_class(const Class& definition) {
    const Ref module = imported_module(definition.module);
    if (module.get() == nullptr) return false;
    const Ref type = item_if_any(PyModule_GetDict(module), definition.name);
    if (type.get() == nullptr || !PyType_Check(type.get())) return false;
    Attributes attributes(type);
    for (const Attribute& attribute : definition.attributes) {
        Ref name = interned(attribute.name);
        Found found = find_in_bases(type, name);
        if (!is_original(found, attribute)) return false;
        if (found.value.get() != nullptr) {
            const Ref function = function_inside(found.value, attribute.kind);
            if (PyFunction_Check(function.get())) add_function(function);
        }
        attributes.values.emplace_back(std::move(name), std::move(found.value));
    }
    attributes_.push_back(std::move(attributes));
    return true;
}

Ref Originals::original(std::string_view module, std::string_view name) const {
    const auto found =
        std::ranges::find_if(names_, [&](const Name& known) { return module == known.module && name == known.name; });
    return Ref::borrow(entries_[static_cast<std::size_t>(found - names_.begin())].value);
}

Ref Originals::original_class(std::string_view module, std::string_view name) const {
    const auto found = std::ranges::find_if(
        classes_, [&](const Class& known) { return module == known.module && name == known.name; });
    return Ref::borrow(attributes_[static_cast<std::size_t>(found - classes_.begin())].type);
}

void Originals::add(PyObject* dict, const char* key) {
    Ref name = interned(key);
    Ref value = item_if_any(dict, name);
    if (value.get() != nullptr && PyFunction_Check(value.get())) add_function(value);
    watcher_.watch(dict);
    entries_.push_back({Ref::borrow(dict), std::move(name), std::move(value)});
}

}  // namespace tarnel::python
