// A cache of the values of the module's global names.
#pragma once

#include <vector>

#include "python/dict_watcher.hpp"
#include "python/strings.hpp"

namespace tarnel::python {

// Caches values until a watched dictionary changes. Owns nothing: the values live as long as the namespace exists
// unchanged.
class GlobalNames {
  public:
    // The value of a name in a plain dict, borrowed; null if there is none. Throws if out of memory.
    [[nodiscard]] PyObject* find(PyObject* dict, const Strings& strings, StringId name) {
        if (dict != dict_ || seen_changes_ != watcher_.changes()) forget(dict, strings.size());
        PyObject* known = values_[static_cast<std::size_t>(name)];
        return known != nullptr ? known : look_up(strings, name);
    }

  private:
    void forget(PyObject* dict, std::size_t count);
    PyObject* look_up(const Strings& strings, StringId name);

    DictWatcher watcher_{DictWatcher::Subject::own_globals};
    PyObject* dict_ = nullptr;
    unsigned long seen_changes_ = 0;
    std::vector<PyObject*> values_;  // by StringId; null: not cached
};

}  // namespace tarnel::python
