#include "python/dict_watcher.hpp"

namespace tarnel::python {

template <DictWatcher::Subject subject>
int DictWatcher::count(PyDict_WatchEvent /*event*/, PyObject* /*dict*/, PyObject* /*key*/,
                       PyObject* /*value*/) noexcept {
    counts_[static_cast<std::size_t>(subject)].fetch_add(1, std::memory_order_relaxed);
    return 0;
}

DictWatcher::~DictWatcher() {
    if (!is_active()) return;
    PyObject* error = PyErr_GetRaisedException();  // preserve a pending exception
    if (PyDict_ClearWatcher(id_) < 0) PyErr_Clear();
    PyErr_SetRaisedException(error);
}

void DictWatcher::watch(PyObject* dict) {
    if (id_ == not_taken_yet) {
        id_ = PyDict_AddWatcher(subject_ == Subject::own_globals ? count<Subject::own_globals>
                                                                 : count<Subject::standard_library>);
        if (!is_active()) PyErr_Clear();
    }
    if (is_active()) checked(PyDict_Watch(id_, dict));
}

}  // namespace tarnel::python
