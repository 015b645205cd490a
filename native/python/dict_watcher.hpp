// Notice of changes to dictionaries.
#pragma once

#include "python/reference.hpp"

namespace tarnel::python {

// Watches dictionaries of one interpreter, through one of the few watchers that an interpreter has. To be made and
// destroyed with the GIL held.
class DictWatcher {
  public:
    DictWatcher() noexcept;
    DictWatcher(const DictWatcher&) = delete;
    DictWatcher(DictWatcher&&) = delete;
    DictWatcher& operator=(const DictWatcher&) = delete;
    DictWatcher& operator=(DictWatcher&&) = delete;
    ~DictWatcher();

    // False when none was left for this one: then any dictionary may have changed at any time.
    [[nodiscard]] bool is_active() const noexcept { return id_ >= 0; }

    void watch(PyObject* dict) const;

    // Grows with each change to a watched dictionary. All interpreters share the count, so it may grow for no reason.
    [[nodiscard]] static unsigned long changes() noexcept;

  private:
    int id_;
};

}  // namespace tarnel::python
