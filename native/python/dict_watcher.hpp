// Detects changes to dictionaries.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "python/reference.hpp"

namespace tarnel::python {

// Watches dictionaries of one interpreter, using one of its few watcher IDs. Takes the ID for the first dictionary, so
// the module's import registers nothing. Use and destroy it with the GIL held.
class DictWatcher {
  public:
    // Which dictionaries it watches. Each subject has its own counter of changes, shared by all interpreters.
    enum class Subject : std::size_t { standard_library, own_globals };

    explicit DictWatcher(Subject subject) noexcept : subject_(subject) {}
    DictWatcher(const DictWatcher&) = delete;
    DictWatcher(DictWatcher&&) = delete;
    DictWatcher& operator=(const DictWatcher&) = delete;
    DictWatcher& operator=(DictWatcher&&) = delete;
    ~DictWatcher();

    // False if no watcher ID was free; then assume that any dictionary may have changed.
    [[nodiscard]] bool is_active() const noexcept { return id_ >= 0; }

    void watch(PyObject* dict);

    // Increases with each change to a watched dictionary; may also increase without one.
    [[nodiscard]] unsigned long changes() const noexcept {
        return counts_[static_cast<std::size_t>(subject_)].load(std::memory_order_relaxed);
    }

  private:
    // The interpreter passes no user data to a callback, so each subject has its own.
    template <Subject subject>
    static int count(PyDict_WatchEvent event, PyObject* dict, PyObject* key, PyObject* value) noexcept;

    inline static constinit std::array<std::atomic<unsigned long>, 2> counts_ = {};

    static constexpr int not_taken_yet = -2;

    Subject subject_;
    int id_ = not_taken_yet;  // negative also if none was left
};

}  // namespace tarnel::python
