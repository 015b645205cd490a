#include "python/dict_watcher.hpp"

#include <atomic>

namespace tarnel::python {

namespace {

std::atomic<unsigned long> change_count = 0;

int count_change(PyDict_WatchEvent /*event*/, PyObject* /*dict*/, PyObject* /*key*/, PyObject* /*value*/) noexcept {
    change_count.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

}  // namespace

DictWatcher::DictWatcher() noexcept : id_(PyDict_AddWatcher(count_change)) {
    if (id_ < 0) PyErr_Clear();
}

DictWatcher::~DictWatcher() {
    if (id_ < 0) return;
    PyObject* error = PyErr_GetRaisedException();  // what is being handled while this goes stays as it is
    if (PyDict_ClearWatcher(id_) < 0) PyErr_Clear();
    PyErr_SetRaisedException(error);
}

void DictWatcher::watch(PyObject* dict) const {
    if (id_ >= 0) checked(PyDict_Watch(id_, dict));
}

unsigned long DictWatcher::changes() noexcept { return change_count.load(std::memory_order_relaxed); }

}  // namespace tarnel::python
