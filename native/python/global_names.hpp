// What the global names of the module stand for.
#pragma once

#include <vector>

#include "python/dict_watcher.hpp"
#include "python/strings.hpp"

namespace tarnel::python {

// Remembers what names stood for until a dictionary changes. Owns nothing: as long as the namespace is there and stays
// as it is, so do its values.
class GlobalNames {
  public:
    // The value of a name in a plain dict, borrowed; null if it has none. Throws when out of memory.
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
    std::vector<PyObject*> values_;  // by StringId; null: not known
};

}  // namespace tarnel::python
