// System calls on files, POSIX only. Errors are errno values, 0 for success. Nothing here depends on Python, so callers
// may release the GIL around these functions.
//
// Where Python would run its signal handlers and retry, an interrupted call returns EINTR and the caller does both.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace tarnel::disk {

// 0 if the path exists, following links; else the error from stat.
[[nodiscard]] int check_exists(const char* path) noexcept;

// 0 if the path is a directory, following links; ENOTDIR if it is something else.
[[nodiscard]] int check_directory(const char* path) noexcept;

[[nodiscard]] int make_directory(const char* path, mode_t mode) noexcept;

// Flags for File::open.
extern const int flags_for_reading;
extern const int flags_for_writing;  // creates or truncates the file

// An open file, closed by the destructor.
class File {
  public:
    File() noexcept = default;
    File(const File&) = delete;
    File(File&&) = delete;
    File& operator=(const File&) = delete;
    File& operator=(File&&) = delete;
    ~File() { static_cast<void>(close()); }

    [[nodiscard]] int open(const char* path, int flags) noexcept;
    [[nodiscard]] int close() noexcept;  // must not be retried, even after an error
    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

  private:
    int descriptor_ = -1;
};

// Reads a whole file. Call `run` until it returns something other than EINTR; 0 means success. The file is then closed,
// also after an error. As in Python, an error from close takes precedence over others.
class Reading {
  public:
    explicit Reading(const char* path) noexcept : path_(path) {}

    [[nodiscard]] int run();                                                // may throw std::bad_alloc
    [[nodiscard]] bool was_opened() const noexcept { return was_opened_; }  // if so, an error came from reading
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
    std::size_t expected_ = 0;  // the file's size when opened; 0 if unknown
};

// Writes all of the content and closes the file. Retries on EINTR, so a signal never leaves a truncated file.
[[nodiscard]] int write_and_close(File& file, std::string_view content) noexcept;

}  // namespace tarnel::disk
