// Version stamps: read from installed documents, and ordered.
#include "skill/stamps.hpp"

#include "python/handling.hpp"
#include "skill/body.hpp"

namespace tarnel::skill {

Ref compare_with_package(const Frame& frame, PyObject* version, int operation) {
    const Ref installed_key = frame.call(name::_version_tuple, {version});
    const Ref to_key = frame.global(name::_version_tuple);
    const Ref package_version = frame.global(name::package_version);
    const Ref package_key = frame.call(to_key, {package_version});
    return checked(PyObject_RichCompare(installed_key, package_key, operation));
}

namespace {

constexpr Py_ssize_t searched_characters = 2000;  // at the head of an installed document

// The head of the text; none when the file can't be read.
Ref head_of_file(const Frame& frame, PyObject* path) {
    try {
        const Ref text = frame.call_method(path, name::read_text, {}, {{name::encoding, frame[literal::utf_8]}});
        const Ref end = checked(PyLong_FromSsize_t(searched_characters));
        const Ref head = checked(PySlice_New(nullptr, end, nullptr));
        return checked(PyObject_GetItem(text, head));
    } catch (const PythonError&) {
        const python::Handling unreadable(PyExc_OSError);
        return {};
    }
}

Ref _installed_version(const Frame& frame) {
    const auto [path] = frame.arguments<1>();
    const Ref head = head_of_file(frame, path);
    if (head.get() == nullptr) return none();
    const Ref pattern = frame.global(name::version_re);
    const Ref match = frame.call_method(pattern, name::search, {head});
    if (!is_true(match)) return none();
    const Ref value_group = checked(PyLong_FromLong(1));
    return frame.call_method(match, name::group, {value_group});
}

Ref leading_number(const Frame& frame, PyObject* piece) {
    const Ref re = frame.global(name::re);
    const Ref match = frame.call_method(re, name::match, {frame[literal::leading_digits], piece});
    if (!is_true(match)) return checked(PyLong_FromLong(0));
    const Ref digits = frame.call_method(match, name::group);
    return checked(PyObject_CallOneArg(reinterpret_cast<PyObject*>(&PyLong_Type), digits));
}

Ref _version_tuple(const Frame& frame) {
    const auto [version] = frame.arguments<1>();
    const Ref numbers = checked(PyList_New(0));
    const Ref pieces = frame.call_method(version, name::split, {frame[literal::dot]});
    for (const Ref& piece : Iteration(pieces)) {
        const Ref number = leading_number(frame, piece);
        checked(PyList_Append(numbers, number));
    }
    return checked(PyList_AsTuple(numbers));
}

}  // namespace

namespace function {

constinit const python::Definition _installed_version = {
    .name = "_installed_version",
    .parameters = {{"path", "Path"}},
    .returns = "str | None",
    .doc = "Frontmatter version of an installed skill file, or None.",
    .body = skill::_installed_version,
};

constinit const python::Definition _version_tuple = {
    .name = "_version_tuple",
    .parameters = {{"v", "str"}},
    .returns = "tuple[int, ...]",
    .doc = "Lenient numeric version key ('1.10.0' -> (1, 10, 0)); non-ints count as 0.",
    .body = skill::_version_tuple,
};

}  // namespace function

}  // namespace tarnel::skill
