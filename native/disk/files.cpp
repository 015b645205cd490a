#include "disk/files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace tarnel::disk {

namespace {

int error_of(int result) noexcept { return result < 0 ? errno : 0; }

constexpr std::size_t smallest_buffer = 8192;

}  // namespace

const int flags_for_reading = O_RDONLY | O_CLOEXEC;
const int flags_for_writing = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;

int check_exists(const char* path) noexcept {
    struct stat status{};
    return error_of(::stat(path, &status));
}

int check_directory(const char* path) noexcept {
    struct stat status{};
    if (::stat(path, &status) < 0) return errno;
    return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

int make_directory(const char* path, mode_t mode) noexcept { return error_of(::mkdir(path, mode)); }

int File::open(const char* path, int flags) noexcept {
    constexpr mode_t mode_of_new_files = 0666;  // minus the umask
    descriptor_ = ::open(path, flags, mode_of_new_files);
    return error_of(descriptor_);
}

int File::close() noexcept {
    if (descriptor_ < 0) return 0;
    return error_of(::close(std::exchange(descriptor_, -1)));
}

int Reading::run() {
    int error = was_opened_ ? 0 : start();
    if (error == 0) error = read_to_end();
    if (error == EINTR) return error;
    const int error_of_close = file_.close();
    return error_of_close != 0 ? error_of_close : error;
}

int Reading::start() {
    if (const int error = file_.open(path_, flags_for_reading); error != 0) return error;
    was_opened_ = true;
    struct stat status{};
    if (::fstat(file_.descriptor(), &status) < 0) return errno == EBADF ? EBADF : 0;  // ignore other errors
    if (S_ISDIR(status.st_mode)) return EISDIR;
    expected_ = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
    return 0;
}

// One read suffices if it returns exactly the expected size; otherwise reads until the end of the file.
int Reading::read_to_end() {
    for (;;) {
        if (size_ == capacity_) grow(std::max({smallest_buffer, expected_ + 1, capacity_ * 2}));
        const ssize_t count = ::read(file_.descriptor(), buffer_.get() + size_, capacity_ - size_);
        if (count < 0 && errno == EAGAIN && size_ > 0) return 0;
        if (count < 0) return errno;
        const bool is_first = size_ == 0;
        size_ += static_cast<std::size_t>(count);
        if (count == 0 || (is_first && expected_ > 0 && size_ == expected_)) return 0;
    }
}

void Reading::grow(std::size_t capacity) {
    std::unique_ptr<char[]> larger(new char[capacity]);
    if (size_ > 0) std::memcpy(larger.get(), buffer_.get(), size_);
    buffer_ = std::move(larger);
    capacity_ = capacity;
}

int write_and_close(File& file, std::string_view content) noexcept {
    int error = 0;
    while (!content.empty() && error == 0) {
        const ssize_t count = ::write(file.descriptor(), content.data(), content.size());
        if (count >= 0)
            content.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            error = errno;
    }
    const int error_of_close = file.close();
    return error_of_close != 0 ? error_of_close : error;
}

}  // namespace tarnel::disk
