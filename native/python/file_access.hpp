// File access that behaves like pathlib's methods and text files: audit events before the system calls, the GIL
// released around them, signals handled where Python handles them, and Python's exceptions.
//
// Each function may run foreign code: audit hooks, signal handlers, and other threads while the GIL is released.
#pragma once

#include <optional>
#include <string_view>

#include "disk/files.hpp"
#include "python/reference.hpp"

namespace tarnel::python {

// A path as text and in the file system encoding.
class SystemPath {
  public:
    // Nothing if the text isn't a plain str, contains a null character or can't be encoded.
    [[nodiscard]] static std::optional<SystemPath> of(PyObject* text);

    // The same for a text in UTF-8.
    [[nodiscard]] static std::optional<SystemPath> of(std::string_view utf8);

    // The parent, as pathlib computes it. The path's text must be in pathlib's normal form.
    [[nodiscard]] SystemPath parent() const;

    [[nodiscard]] PyObject* text() const noexcept { return text_; }
    [[nodiscard]] const char* c_str() const noexcept { return encoded_; }

  private:
    SystemPath(Ref text, Ref bytes, const char* encoded) noexcept
        : text_(std::move(text)), bytes_(std::move(bytes)), encoded_(encoded) {}

    Ref text_;
    Ref bytes_;  // null if `encoded_` points into the text
    const char* encoded_;
};

// `Path.exists()`
[[nodiscard]] bool exists(const SystemPath& path);

// `Path.read_text(encoding="utf-8")` without the decoding. Returns false if the file itself causes an OSError; throws
// the exceptions of audit hooks and signal handlers.
[[nodiscard]] bool read_file(const SystemPath& path, disk::Reading& reading);

// Throws the UnicodeDecodeError for the content, unless it is valid UTF-8.
void expect_utf8(std::string_view content);

// The content as text, decoded by the registered UTF-8 codec, with universal newlines.
[[nodiscard]] Ref decoded(std::string_view content);

// `Path.mkdir(parents=True, exist_ok=True)`. The path's text must be in pathlib's normal form.
void make_directories(const SystemPath& path);

// `Path.write_text(text, encoding="utf-8")` for encoded text. Between opening and writing, nothing can fail or run
// foreign code, so neither an exception nor a signal leaves the file empty.
void write_text(const SystemPath& path, std::string_view utf8);

}  // namespace tarnel::python
