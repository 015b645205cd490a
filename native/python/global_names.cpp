#include "python/global_names.hpp"

#include "python/objects.hpp"

namespace tarnel::python {

void GlobalNames::forget(PyObject* dict, std::size_t count) {
    dict_ = nullptr;  // in case a call below throws
    values_.assign(count, nullptr);
    watcher_.watch(dict);
    seen_changes_ = watcher_.changes();
    dict_ = dict;
}

PyObject* GlobalNames::look_up(const Strings& strings, StringId name) {
    PyObject* dict = dict_;
    PyObject* value = item_if_any(dict, strings[name]).get();
    // Keys that aren't strings may have run any code when compared.
    if (watcher_.is_active() && dict == dict_ && seen_changes_ == watcher_.changes())
        values_[static_cast<std::size_t>(name)] = value;
    return value;
}

}  // namespace tarnel::python
