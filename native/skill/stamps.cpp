// Version stamps: read from installed documents, and ordered.
#include "skill/stamps.hpp"

#include "python/handling.hpp"
#include "skill/body.hpp"

namespace tarnel::skill {

namespace {

constexpr char version_pattern[] = R"(^version:\s*([0-9][\w.\-]*)\s*$)";
constexpr Py_ssize_t searched_characters = 2000;  // at the head of an installed document

}  // namespace

Ref compile_version_pattern(PyObject* globals) {
    const Ref re = python::look_up(globals, "re");
    const Ref compile = checked(PyObject_GetAttrString(re, "compile"));
    const Ref flags = checked(PyObject_GetAttrString(re, "MULTILINE"));
    return checked(PyObject_CallFunction(compile, "sO", version_pattern, flags.get()));
}

Ref compare_with_package(const CallContext& context, PyObject* version, int operation) {
    const Ref installed_key = context.call(name::_version_tuple, {version});
    const Ref to_key = context.global(name::_version_tuple);
    const Ref package_version = context.global(name::package_version);
    const Ref package_key = context.call(to_key, {package_version});
    return checked(PyObject_RichCompare(installed_key, package_key, operation));
}

namespace {

// The head of the text; none when the file can't be read.
Ref head_of_file(const CallContext& context, PyObject* path) {
    try {
        const Ref text = context.call_method(path, name::read_text, {}, {{name::encoding, context[literal::utf_8]}});
        const Ref end = checked(PyLong_FromSsize_t(searched_characters));
        const Ref head = checked(PySlice_New(nullptr, end, nullptr));
        return checked(PyObject_GetItem(text, head));
    } catch (const PythonError&) {
        const python::Handling unreadable(PyExc_OSError);
        return {};
    }
}

Ref _installed_version(const CallContext& context) {
    const auto [path] = context.arguments<1>();
    const Ref head = head_of_file(context, path);
    if (head.get() == nullptr) return none();
    const Ref pattern = context.global(name::version_re);
    const Ref match = context.call_method(pattern, name::search, {head});
    if (!is_true(match)) return none();
    const Ref value_group = checked(PyLong_FromLong(1));
    return context.call_method(match, name::group, {value_group});
}

}  // namespace

constinit const python::Definition function::_installed_version = {
    .name = "_installed_version",
    .parameters = {{"path", "Path"}},
    .returns = "str | None",
    .doc = "Frontmatter version of an installed skill file, or None.",
    .body = skill::_installed_version,
};

namespace {

Ref leading_number(const CallContext& context, PyObject* piece) {
    const Ref re = context.global(name::re);
    const Ref match = context.call_method(re, name::match, {context[literal::leading_digits], piece});
    if (!is_true(match)) return checked(PyLong_FromLong(0));
    const Ref digits = context.call_method(match, name::group);
    return checked(PyObject_CallOneArg(reinterpret_cast<PyObject*>(&PyLong_Type), digits));
}

Ref _version_tuple(const CallContext& context) {
    const auto [version] = context.arguments<1>();
    const Ref numbers = checked(PyList_New(0));
    const Ref pieces = context.call_method(version, name::split, {context[literal::dot]});
    for (const Ref& piece : Iteration(pieces)) {
        const Ref number = leading_number(context, piece);
        checked(PyList_Append(numbers, number));
    }
    return checked(PyList_AsTuple(numbers));
}

}  // namespace

constinit const python::Definition function::_version_tuple = {
    .name = "_version_tuple",
    .parameters = {{"v", "str"}},
    .returns = "tuple[int, ...]",
    .doc = "Lenient numeric version key ('1.10.0' -> (1, 10, 0)); non-ints count as 0.",
    .body = skill::_version_tuple,
};

}  // namespace tarnel::skill
