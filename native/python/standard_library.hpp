// Checks that the parts of the standard library that fast paths bypass are the originals.
#pragma once

#include "python/originals.hpp"

namespace tarnel::python {

// Check again wherever foreign code may have run or the GIL was released. A check takes about 50 ns, runs no foreign
// code, and throws if out of memory.
class StandardLibrary {
  public:
    // Whether `module` is itertools, with the original `combinations`.
    [[nodiscard]] bool has_original_combinations(PyObject* module) {
        return combinations_.hold() && combinations_.are_of(module);
    }

    // Whether `module` is re, with the original `match`.
    [[nodiscard]] bool has_original_matching(PyObject* module) { return matching_.hold() && matching_.are_of(module); }

    // Whether the object is `pathlib.Path`, and it and everything it uses are the originals.
    [[nodiscard]] bool has_original_paths(PyObject* path_type) { return paths_hold() && path_type == path_type_.get(); }
    [[nodiscard]] bool paths_hold();
    // After paths_hold() returned true: whether it still holds, without comparing the parts of functions.
    [[nodiscard]] bool paths_still_hold() { return files_.still_hold(); }
    // After paths_hold() returned true: whether the codec of text files is the original too.
    [[nodiscard]] bool codec_holds();

    // After paths_hold() returned true, borrowed: the type of path objects, and `os.getcwd`.
    [[nodiscard]] PyTypeObject* posix_path_type() const noexcept {
        return reinterpret_cast<PyTypeObject*>(posix_path_type_.get());
    }
    [[nodiscard]] PyObject* getcwd() const noexcept { return getcwd_; }
    // The current value of HOME in `os.environ`, a bytes object; null if there is none.
    [[nodiscard]] Ref home_variable() const;

  private:
    void find_environment();
    void find_codec();

    DictWatcher watcher_{DictWatcher::Subject::standard_library};
    Originals combinations_{watcher_, standard_library::of_planning};
    Originals matching_{watcher_, standard_library::of_matching, standard_library::builtins};
    Originals files_{watcher_, standard_library::of_files, standard_library::builtins, standard_library::classes};
    Ref path_type_;
    Ref posix_path_type_;
    Ref getcwd_;
    Ref environment_;  // the dictionary inside `os.environ`; null until found
    Ref home_key_;
    Ref look_up_codec_;
    Ref codec_name_;
    Ref codec_;  // null until found
};

}  // namespace tarnel::python
