// Notice of changes to dictionaries.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>

#include "python/reference.hpp"

namespace tarnel::python {

// Watches dictionaries of one interpreter, through one of the few watchers that an interpreter has. It takes that one
// for the first dictionary: importing the module registers nothing. To be used and destroyed with the GIL held.
class DictWatcher {
  public:
    // Which dictionaries it watches. Changes are counted separately for each, and together for all interpreters.
    enum class Subject : std::size_t { standard_library, own_globals };

    explicit DictWatcher(Subject subject) noexcept : subject_(subject) {}
    DictWatcher(const DictWatcher&) = delete;
    DictWatcher(DictWatcher&&) = delete;
    DictWatcher& operator=(const DictWatcher&) = delete;
    DictWatcher& operator=(DictWatcher&&) = delete;
    ~DictWatcher();

    // False when none was left: then any dictionary may have changed at any time.
    [[nodiscard]] bool is_active() const noexcept { return id_ && *id_ >= 0; }

    void watch(PyObject* dict);

    // Grows with each change to a watched dictionary, and may grow for no reason.
    [[nodiscard]] unsigned long changes() const noexcept {
        return counts_[static_cast<std::size_t>(subject_)].load(std::memory_order_relaxed);
    }

  private:
    // The interpreter passes a watcher nothing of its own: there is one for each subject.
    template <Subject subject>
    static int count(PyDict_WatchEvent event, PyObject* dict, PyObject* key, PyObject* value) noexcept;

    inline static constinit std::array<std::atomic<unsigned long>, 2> counts_ = {};

    Subject subject_;
    std::optional<int> id_;  // negative: none was left
};

}  // namespace tarnel::python
