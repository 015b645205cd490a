// Objects as the interpreter came with them, and whether they still are what names stand for.
#pragma once

#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "python/dict_watcher.hpp"
#include "python/standard_library_names.hpp"

namespace tarnel::python {

// A set of names and of attributes of classes that Python code goes through and a fast path leaves out.
//
// Anyone may replace what they stand for: a mock, a fake file system. An original is recognised by where it comes from:
// a function of its own module with its own code, a builtin, a built-in type. What is replaced when `hold` is first
// called is no original; it is recognised in a later call, once it is back.
class Originals {
  public:
    Originals(DictWatcher& watcher, std::span<const standard_library::Name> names,
              std::span<const standard_library::Name> builtins = {},
              std::span<const standard_library::Class> classes = {}) noexcept
        : watcher_(watcher), names_(names), builtins_(builtins), classes_(classes) {}

    // Whether all of them are the originals. Runs no foreign code; throws when out of memory.
    [[nodiscard]] bool hold();

    // After `hold`: whether names and attributes still stand for what they did. Leaves out the parts of functions.
    [[nodiscard]] bool still_hold() { return !has_changed() ? entries_hold_ : hold(); }

    // Once they have held: whether the object is the module of the first name, and what names stand for.
    [[nodiscard]] bool are_of(PyObject* module) const noexcept {
        return PyModule_CheckExact(module) && PyModule_GetDict(module) == entries_.front().dict.get();
    }
    [[nodiscard]] Ref original(std::string_view module, std::string_view name) const;
    [[nodiscard]] Ref original_class(std::string_view module, std::string_view name) const;

    // From now on, an entry of another dictionary has to stay as it is, too.
    void add(PyObject* dict, const char* key);

  private:
    struct Entry {  // of a module's namespace
        Ref dict;
        Ref key;
        Ref value;  // null: no such entry
    };
    struct Function {  // borrowed from `parts_`; its parts can be replaced without a trace in any dictionary
        const PyFunctionObject* function;
        PyObject* code;
        PyObject* defaults;
        PyObject* keyword_defaults;
    };
    struct Attributes {  // of a type and its bases; its version tag changes with them
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
