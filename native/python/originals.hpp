// Checks whether names still refer to the objects that the interpreter came with.
#pragma once

#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "python/dict_watcher.hpp"
#include "python/standard_library_names.hpp"

namespace tarnel::python {

// A set of names and class attributes that the slow path uses and a fast path bypasses.
//
// A mock or a fake file system may replace their values. An original is recognised by its origin: a function of its own
// module with its own code, a builtin, a built-in type. If a value is already replaced when `hold` is first called, the
// original is recognised by a later call, once it is restored.
class Originals {
  public:
    Originals(DictWatcher& watcher, std::span<const standard_library::Name> names,
              std::span<const standard_library::Name> builtins = {},
              std::span<const standard_library::Class> classes = {}) noexcept
        : watcher_(watcher), names_(names), builtins_(builtins), classes_(classes) {}

    // Whether all values are the originals. Runs no foreign code; throws if out of memory.
    [[nodiscard]] bool hold();

    // After `hold`: whether names and attributes are unchanged. Doesn't compare the parts of functions.
    [[nodiscard]] bool still_hold() { return !has_changed() ? entries_hold_ : hold(); }

    // After `hold` returned true: whether the object is the module of the first name; and the originals by name.
    [[nodiscard]] bool are_of(PyObject* module) const noexcept {
        return PyModule_CheckExact(module) && PyModule_GetDict(module) == entries_.front().dict.get();
    }
    [[nodiscard]] Ref original(std::string_view module, std::string_view name) const;
    [[nodiscard]] Ref original_class(std::string_view module, std::string_view name) const;

    // Also requires an entry of another dictionary to stay unchanged from now on.
    void add(PyObject* dict, const char* key);

  private:
    struct Entry {  // of a namespace
        Ref dict;
        Ref key;
        Ref value;  // null: there must be no such entry
    };
    struct Function {  // borrowed from `parts_`; replacing a part changes no watched dictionary
        const PyFunctionObject* function;
        PyObject* code;
        PyObject* defaults;
        PyObject* keyword_defaults;
    };
    struct Attributes {  // of a type and its bases; changing one changes the version tag
        explicit Attributes(PyObject* class_object) : type(Ref::borrow(class_object)) {}
        [[nodiscard]] bool is_tagged() const noexcept;
        void tag() noexcept;
        Ref type;
        unsigned version_tag = 0;
        std::vector<std::pair<Ref, Ref>> values;
    };

    bool find();
    bool find_name(const standard_library::Name& name);
    bool find_class(const standard_library::Class& definition);
    bool find_no_hidden_builtins(const char* module_name);
    void add_function(PyObject* object);
    [[nodiscard]] bool has_changed() const noexcept;
    [[nodiscard]] bool functions_hold() const noexcept;
    [[nodiscard]] bool compare();

    DictWatcher& watcher_;
    std::span<const standard_library::Name> names_;
    std::span<const standard_library::Name> builtins_;
    std::span<const standard_library::Class> classes_;

    std::vector<Entry> entries_;
    std::vector<Function> functions_;
    std::vector<Ref> parts_;
    std::vector<Attributes> attributes_;
    bool is_found_ = false;
    bool entries_hold_ = false;
    unsigned long seen_changes_ = 0;
};

}  // namespace tarnel::python
