// Version stamps: reads them from installed documents and compares them.
#include "skill/stamps.hpp"

#include <algorithm>

#include "core/stamps.hpp"
#include "python/handling.hpp"
#include "skill/body.hpp"
#include "skill/recognized.hpp"

namespace tarnel::skill {

namespace {

constexpr char version_pattern[] = R"(^version:\s*([0-9][\w.\-]*)\s*$)";

}  // namespace

Ref compile_version_pattern(python::Namespace& module) {
    const Ref re = module["re"];
    const Ref compile = python::attribute(re, "compile");
    const Ref pattern = python::text_of(version_pattern);
    const Ref flags = python::attribute(re, "MULTILINE");
    return python::call(compile, {pattern, flags});
}

Ref recognized_version_pattern(PyObject* pattern) {
    if (std::string_view(Py_TYPE(pattern)->tp_name) != "re.Pattern") return none();
    const Ref text = python::attribute(pattern, "pattern");
    const Ref flags = python::attribute(pattern, "flags");
    // re.MULTILINE, and re.UNICODE, which str patterns always have
    constexpr Py_ssize_t multiline_and_unicode = 8 + 32;
    const bool is_same =
        python::utf8_of(text) == std::string_view(version_pattern) && PyLong_AsSsize_t(flags) == multiline_and_unicode;
    return is_same ? Ref::borrow(pattern) : none();
}

namespace {

constexpr core::CharacterClasses character_classes = {
    .is_space = [](char32_t character) { return _PyUnicode_IsWhitespace(character) != 0; },
    // Every decimal character and digit is numeric.
    .is_word = [](char32_t character) { return _PyUnicode_IsAlpha(character) + _PyUnicode_IsNumeric(character) != 0; },
    .digit = [](char32_t character) -> std::optional<int> {
        const int value = Py_UNICODE_TODECIMAL(character);
        return value < 0 ? std::nullopt : std::optional(value);
    },
};

// Whether `re.match` is the original, so that versions can be parsed natively.
bool matches_plainly(const CallContext& context) {
    PyObject* re = context.global_if_plain(name::re);
    return re != nullptr && context.standard_library().has_original_matching(re);
}

// The fast path of comparing keys; nothing if it doesn't apply.
std::optional<std::strong_ordering> compare_plain_versions(const CallContext& context, PyObject* left,
                                                           PyObject* right) {
    if (!matches_plainly(context)) return {};
    const auto left_text = python::utf8_of(left);
    const auto right_text = python::utf8_of(right);
    if (!left_text || !right_text) return {};
    return core::compare_versions(*left_text, *right_text, character_classes);
}

bool holds(std::strong_ordering order, int operation) { return operation == Py_LT ? order < 0 : order >= 0; }

// The fast path of `_version_tuple`; null if it doesn't apply.
Ref plain_version_key(const CallContext& context, PyObject* version) {
    if (!matches_plainly(context)) return {};
    auto rest = python::utf8_of(version);
    if (!rest) return {};
    const Py_ssize_t count = std::ranges::count(*rest, '.') + 1;
    Ref key = checked(PyTuple_New(count));
    for (Py_ssize_t i = 0; i < count; i++) {
        const auto number = core::take_number(*rest, character_classes);
        if (!number) return {};
        PyTuple_SET_ITEM(key.get(), i, integer(*number).release());
    }
    return key;
}

}  // namespace

Ref compare_with_package(const CallContext& context, PyObject* version, int operation) {
    PyObject* package = context.global_if_plain(name::package_version);
    if (package != nullptr && context.is_own(name::_version_tuple, function::_version_tuple.body)) {
        const auto order = compare_plain_versions(context, version, package);
        if (order) return Ref::borrow(holds(*order, operation) ? Py_True : Py_False);
    }
    const Ref installed_key = context.call(name::_version_tuple, {version});
    const Ref to_key = context.global(name::_version_tuple);
    const Ref package_version = context.global(name::package_version);
    const Ref package_key = context.call(to_key, {package_version});
    return checked(PyObject_RichCompare(installed_key, package_key, operation));
}

namespace {

// `text[:2000]`
Ref head_of(PyObject* text) {
    const Ref end = integer(core::searched_characters);
    const Ref head = checked(PySlice_New(nullptr, end, nullptr));
    return checked(PyObject_GetItem(text, head));
}

// The version that the pattern finds, or None.
Ref stamp_in(const CallContext& context, PyObject* head) {
    const Ref pattern = context.global(name::version_re);
    const Ref match = context.call_method(pattern, name::search, {head});
    if (!is_true(match)) return none();
    const Ref value_group = integer(1);
    return context.call_method(match, name::group, {value_group});
}

// Whether the stamp can be found without decoding the file's content.
bool is_searched_plainly(const CallContext& context) {
    return context.global_if_plain(name::version_re) == context.recognized(recognized::version_pattern) &&
           context.standard_library().codec_holds();
}

// The fast path of `_installed_version`, for a path whose file can be read by system calls alone. The content may still
// have to be decoded by a replaced codec and searched by a replaced pattern.
Ref stamp_of_file(const CallContext& context, const python::SystemPath& path) {
    disk::Reading reading(path.c_str());
    Ref head;
    try {
        if (!python::read_file(path, reading)) return none();
        if (is_searched_plainly(context)) {
            python::expect_utf8(reading.content());
            const auto stamp = core::find_stamp(reading.content(), character_classes);
            return stamp ? python::text_of(*stamp) : none();
        }
        const Ref text = python::decoded(reading.content());
        head = head_of(text);
    } catch (const PythonError&) {
        const python::Handling unreadable(PyExc_OSError);
        return none();
    }
    return stamp_in(context, head);
}

// The path, if `path` is an original path object, which its text fully describes; else nothing.
std::optional<python::SystemPath> plain_path(const CallContext& context, PyObject* path) {
    if (!context.standard_library().paths_hold() || !Py_IS_TYPE(path, context.standard_library().posix_path_type()))
        return {};
    const Ref text = checked(PyObject_Str(path));
    return python::SystemPath::of(text);
}

// The head of the file's text; null if the file can't be read.
Ref head_of_file(const CallContext& context, PyObject* path) {
    try {
        const Ref text = context.call_method(path, name::read_text, {}, {{name::encoding, context[literal::utf_8]}});
        return head_of(text);
    } catch (const PythonError&) {
        const python::Handling unreadable(PyExc_OSError);
        return {};
    }
}

Ref _installed_version(const CallContext& context) {
    const auto [path] = context.arguments<1>();
    if (const auto plain = plain_path(context, path)) return stamp_of_file(context, *plain);
    const Ref head = head_of_file(context, path);
    return head.get() == nullptr ? none() : stamp_in(context, head);
}

}  // namespace

constinit const python::Definition function::_installed_version = {
    .name = "_installed_version",
    .parameters = {{"path", "Path"}},
    .returns = "str | None",
    .doc = "Frontmatter version of an installed skill file, or None.",
    .body = skill::_installed_version,
};

Ref installed_version(const CallContext& context, Target& target) {
    if (const python::SystemPath* path = target.plain();
        path != nullptr && context.is_own(name::_installed_version, skill::_installed_version))
        return stamp_of_file(context, *path);
    const Ref read = context.global(name::_installed_version);
    return context.call(read, {target.object()});
}

namespace {

Ref leading_number(const CallContext& context, PyObject* piece) {
    const Ref re = context.global(name::re);
    const Ref match = context.call_method(re, name::match, {context[literal::leading_digits], piece});
    if (!is_true(match)) return integer(0);
    const Ref digits = context.call_method(match, name::group);
    return python::call(reinterpret_cast<PyObject*>(&PyLong_Type), {digits});
}

Ref _version_tuple(const CallContext& context) {
    const auto [version] = context.arguments<1>();
    if (Ref key = plain_version_key(context, version); key.get() != nullptr) return key;
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
