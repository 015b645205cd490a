// Files as pathlib's methods and the text files that they open treat them: audit events before the system calls, the
// GIL released around them, signals handled where Python handles them, and Python's exceptions.
//
// Foreign code may run in each of these: audit hooks, signal handlers, and other threads while the GIL is released.
#pragma once

#include <optional>
#include <string_view>

#include "disk/files.hpp"
#include "python/reference.hpp"

namespace tarnel::python {

// The text of a path, and what the system knows it by.
class SystemPath {
  public:
    // Nothing for a text that the system has no path for (a null character, or one that can't be encoded), or that
    // isn't a plain str.
    [[nodiscard]] static std::optional<SystemPath> of(PyObject* text);

    // The same for a text in UTF-8.
    [[nodiscard]] static std::optional<SystemPath> of(std::string_view utf8);

    // The parent, as pathlib names it. For a path whose text is one of pathlib's.
    [[nodiscard]] SystemPath parent() const;

    [[nodiscard]] PyObject* text() const noexcept { return text_; }
    [[nodiscard]] const char* c_str() const noexcept { return encoded_; }

  private:
    SystemPath(Ref text, Ref bytes, const char* encoded) noexcept
        : text_(std::move(text)), bytes_(std::move(bytes)), encoded_(encoded) {}

    Ref text_;
    Ref bytes_;  // null when the text itself holds what is encoded
    const char* encoded_;
};

// `Path.exists()`
[[nodiscard]] bool exists(const SystemPath& path);

// `Path.read_text(encoding="utf-8")` up to the decoding: whether the file could be read. False stands for an OSError of
// the file itself; an exception of an audit hook or a signal handler is thrown.
[[nodiscard]] bool read_file(const SystemPath& path, disk::Reading& reading);

// The text of what was read: decoded as UTF-8 by whoever is registered to do so, with universal newlines.
[[nodiscard]] Ref decoded(std::string_view content);

// `Path.mkdir(parents=True, exist_ok=True)`. The path's text is one of pathlib's.
void make_directories(const SystemPath& path);

// `Path.write_text(text, encoding="utf-8")`, for a text that is encoded already. The file is never left empty: nothing
// that can fail or run foreign code comes between opening and writing.
void write_text(const SystemPath& path, std::string_view utf8);

}  // namespace tarnel::python
