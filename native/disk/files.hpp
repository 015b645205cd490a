// The system calls on files. POSIX only; errors are values of errno, 0 for none. Nothing here knows of Python: callers
// may release the GIL around any of these.
//
// Calls that a signal interrupts return EINTR where Python would run its handlers and try again; whoever calls does so.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace tarnel::disk {

// Whether the path leads to something, links followed: 0, or the error of stat.
[[nodiscard]] int check_exists(const char* path) noexcept;

// Whether the path leads to a directory. ENOTDIR when it leads to something else.
[[nodiscard]] int check_directory(const char* path) noexcept;

[[nodiscard]] int make_directory(const char* path, mode_t mode) noexcept;

// The flags that files are opened with.
extern const int flags_for_reading;
extern const int flags_for_writing;  // creates the file, or empties it

// An open file. Closes it in the end.
class File {
  public:
    File() noexcept = default;
    File(const File&) = delete;
    File(File&&) = delete;
    File& operator=(const File&) = delete;
    File& operator=(File&&) = delete;
    ~File() { static_cast<void>(close()); }

    [[nodiscard]] int open(const char* path, int flags) noexcept;
    [[nodiscard]] int close() noexcept;  // not to be tried again, whatever it returns
    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

  private:
    int descriptor_ = -1;
};

// Reads a whole file. `run` is called until it doesn't return EINTR; 0 means that all is read. The file is closed then,
// and after an error; an error of closing it comes before others, as in Python.
class Reading {
  public:
    explicit Reading(const char* path) noexcept : path_(path) {}

    [[nodiscard]] int run();                                                // may throw std::bad_alloc
    [[nodiscard]] bool was_opened() const noexcept { return was_opened_; }  // so that an error is one of reading
    [[nodiscard]] std::string_view content() const noexcept { return {buffer_.get(), size_}; }

  private:
    int start();
    int read_to_end();
    void grow(std::size_t capacity);

    const char* path_;
    File file_;
    bool was_opened_ = false;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
    std::size_t expected_ = 0;  // the file's size when it was opened; 0 if that is not known
};

// Writes all of the content and closes the file. Signals don't interrupt it: a file that has been emptied is filled.
[[nodiscard]] int write_and_close(File& file, std::string_view content) noexcept;

}  // namespace tarnel::disk
