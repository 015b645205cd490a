#include "python/file_access.hpp"

#include <cerrno>
#include <stdexcept>
#include <string>

#include "core/paths.hpp"
#include "core/utf8.hpp"
#include "python/handling.hpp"
#include "python/objects.hpp"
#include "python/thread.hpp"

namespace tarnel::python {

namespace {

// Sets the exception for an errno. For EINTR, runs signal handlers first; if one raises, its exception is set instead.
void set_os_error(int error, PyObject* file_name = nullptr) {
    errno = error;
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, file_name);
}

[[noreturn]] void throw_os_error(int error, PyObject* file_name = nullptr) {
    set_os_error(error, file_name);
    throw PythonError{};
}

void handle_signals() { checked(PyErr_CheckSignals()); }

template <typename Call>
int without_gil(Call&& call) {
    const ReleasedGil released;
    return call();
}

// Runs a system call. If a signal interrupts it, runs Python's signal handlers and retries, as Python does.
template <typename Call>
int retried(Call&& call) {
    for (;;) {
        const int error = without_gil(call);
        if (error != EINTR) return error;
        handle_signals();
    }
}

// Errors that pathlib treats as a missing file.
bool means_missing(int error) { return error == ENOENT || error == ENOTDIR || error == EBADF || error == ELOOP; }

bool is_directory(const SystemPath& path) {
    const int error = without_gil([&] { return disk::check_directory(path.c_str()); });
    if (error != 0 && !means_missing(error)) throw_os_error(error, path.text());
    return error == 0;
}

// `os.mkdir(path)`. Returns false with the exception set on failure.
bool make_directory(const SystemPath& path) {
    constexpr int mode = 0777;  // minus the umask
    constexpr int no_directory_descriptor = -1;
    if (PySys_Audit("os.mkdir", "Oii", path.text(), mode, no_directory_descriptor) < 0) return false;
    const int error = without_gil([&] { return disk::make_directory(path.c_str(), mode); });
    if (error != 0) set_os_error(error, path.text());
    return error == 0;
}

// `raise` in an except clause
[[noreturn]] void raise_again(const Handling& handling) {
    PyErr_SetRaisedException(Py_NewRef(handling.error()));
    throw PythonError{};
}

enum class Parents { make, expect };

// NOLINTNEXTLINE(misc-no-recursion): the recursion depth is that of the path
void make_directory(const SystemPath& path, Parents parents) {
    if (make_directory(path)) return;
    if (PyErr_ExceptionMatches(PyExc_FileNotFoundError) == 0) {
        const Handling failure(PyExc_OSError);  // rethrows anything but an OSError
        if (!is_directory(path)) raise_again(failure);
        return;
    }
    const Handling missing(PyExc_FileNotFoundError);
    const SystemPath parent = path.parent();
    if (parents == Parents::expect || is_same_text(parent.text(), path.text())) raise_again(missing);
    make_directory(parent, Parents::make);
    make_directory(path, Parents::expect);
}

[[noreturn]] void throw_write_error(int error) {
    if (error != EAGAIN) throw_os_error(error);
    const Ref number = integer(error);
    const Ref message = text_of("write could not complete without blocking");
    const Ref written = integer(0);
    const Ref blocking = call(PyExc_BlockingIOError, {number, message, written});
    PyErr_SetObject(PyExc_BlockingIOError, blocking);
    throw PythonError{};
}

}  // namespace

std::optional<SystemPath> SystemPath::of(PyObject* text) {
    if (!PyUnicode_CheckExact(text)) return {};
    const auto length = static_cast<std::size_t>(PyUnicode_GET_LENGTH(text));
    if (PyUnicode_IS_COMPACT_ASCII(text)) {
        const auto* ascii = static_cast<const char*>(PyUnicode_DATA(text));
        if (std::string_view(ascii, length).find('\0') != std::string_view::npos) return {};
        return SystemPath(Ref::borrow(text), Ref(), ascii);
    }
    Ref bytes = Ref::steal(PyUnicode_EncodeFSDefault(text));
    if (bytes.get() == nullptr) {
        if (PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) == 0) throw PythonError{};
        PyErr_Clear();
        return {};
    }
    const char* encoded = PyBytes_AS_STRING(bytes.get());
    if (std::char_traits<char>::length(encoded) != static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get()))) return {};
    return SystemPath(Ref::borrow(text), std::move(bytes), encoded);
}

SystemPath SystemPath::parent() const {
    const std::optional<std::string_view> utf8 = utf8_of(text_);
    std::optional<SystemPath> parent = utf8 ? of(core::parent_of(*utf8)) : std::nullopt;
    if (!parent) throw std::logic_error("the parent of a path is a path");
    return *std::move(parent);
}

std::optional<SystemPath> SystemPath::of(std::string_view utf8) {
    const Ref text = text_of(utf8);
    return of(text);
}

bool exists(const SystemPath& path) {
    const int error = without_gil([&] { return disk::check_exists(path.c_str()); });
    if (error != 0 && !means_missing(error)) throw_os_error(error, path.text());
    handle_signals();
    return error == 0;
}

bool read_file(const SystemPath& path, disk::Reading& reading) {
    if (PySys_Audit("open", "Osi", path.text(), "r", disk::flags_for_reading) < 0) throw PythonError{};
    const int error = retried([&] { return reading.run(); });
    if (error == EAGAIN && reading.was_opened()) {  // as in Python, whose decoder fails on the None
        PyErr_Format(PyExc_TypeError, "can't concat NoneType to bytes");
        throw PythonError{};
    }
    if (error != 0) return false;
    handle_signals();
    return true;
}

void expect_utf8(std::string_view content) {
    if (core::is_utf8(content)) return;
    const Ref decoded = text_of(content);  // raises the error
}

Ref decoded(std::string_view content) {
    const Ref io = Ref::borrow(PyImport_AddModule("_io"));  // always imported: the interpreter can't start without it
    if (io.get() == nullptr) throw PythonError{};
    const Ref bytes = checked(PyBytes_FromStringAndSize(content.data(), static_cast<Py_ssize_t>(content.size())));
    const Ref binary = call_method(io, "BytesIO", {bytes});
    const Ref encoding = text_of("utf-8");
    const Ref file = call_method(io, "TextIOWrapper", {binary, encoding});
    return call_method(file, "read", {});
}

void make_directories(const SystemPath& path) {
    make_directory(path, Parents::make);
    handle_signals();
}

void write_text(const SystemPath& path, std::string_view utf8) {
    if (PySys_Audit("open", "Osi", path.text(), "w", disk::flags_for_writing) < 0) throw PythonError{};
    disk::File file;
    int write_error = 0;
    const int open_error = retried([&] {
        const int error = file.open(path.c_str(), disk::flags_for_writing);
        if (error == 0) write_error = disk::write_and_close(file, utf8);
        return error;
    });
    if (open_error != 0) throw_os_error(open_error, path.text());
    if (write_error != 0) throw_write_error(write_error);
    handle_signals();
}

}  // namespace tarnel::python
