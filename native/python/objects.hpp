// Python's expressions and loops over objects, with the interpreter's own results and errors.
#pragma once

#include <concepts>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>

#include "python/reference.hpp"

namespace tarnel::python {

[[nodiscard]] inline Ref none() noexcept { return Ref::borrow(Py_None); }

inline bool is_none(PyObject* object) noexcept { return object == Py_None; }

inline bool is_true(PyObject* object) { return checked(PyObject_IsTrue(object)) != 0; }

// `item in container`
inline bool contains(PyObject* container, PyObject* item) { return checked(PySequence_Contains(container, item)) != 0; }

// `left OPERATOR right` in a test; `operation` is Py_EQ, Py_LT and so on. Identical objects are compared too.
inline bool compare(PyObject* left, PyObject* right, int operation) {
    const Ref answer = checked(PyObject_RichCompare(left, right, operation));
    return is_true(answer);
}

// `dict.get(key)`, but null if the key is missing.
[[nodiscard]] Ref item_if_any(PyObject* dict, PyObject* key);

// The same for a key in UTF-8.
[[nodiscard]] Ref item_if_any(PyObject* dict, const char* key);

// The UTF-8 content of a plain str, valid as long as the str; nothing for other objects or text with lone surrogates.
[[nodiscard]] std::optional<std::string_view> utf8_of(PyObject* text);

// A new str from UTF-8.
[[nodiscard]] inline Ref text_of(std::string_view utf8) {
    return checked(PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()), nullptr));
}

// An interned str from ASCII characters.
[[nodiscard]] Ref interned(std::string_view ascii);

// An int object.
[[nodiscard]] inline Ref integer(std::integral auto value) {
    return checked(PyLong_FromSsize_t(static_cast<Py_ssize_t>(value)));
}

// A new tuple.
[[nodiscard]] Ref tuple_of(std::initializer_list<PyObject*> items);

// `object.name`
[[nodiscard]] inline Ref attribute(PyObject* object, std::string_view name) {
    const Ref key = text_of(name);
    return checked(PyObject_GetAttr(object, key));
}

// `callable(*arguments)`
[[nodiscard]] inline Ref call(PyObject* callable, std::initializer_list<PyObject*> arguments) {
    return checked(PyObject_Vectorcall(callable, arguments.begin(), arguments.size(), nullptr));
}

// `object.name(*arguments)`
[[nodiscard]] inline Ref call_method(PyObject* object, std::string_view name,
                                     std::initializer_list<PyObject*> arguments) {
    const Ref method = attribute(object, name);
    return call(method, arguments);
}

// Whether the object is a plain str equal to `text`; and whether it is an empty plain str.
[[nodiscard]] inline bool is_same_text(PyObject* object, PyObject* text) {
    if (object == text) return true;
    if (!PyUnicode_CheckExact(object)) return false;
    constexpr Py_hash_t unknown = -1;
    const Py_hash_t hashes[] = {reinterpret_cast<PyASCIIObject*>(object)->hash,
                                reinterpret_cast<PyASCIIObject*>(text)->hash};
    const bool may_be_equal = hashes[0] == hashes[1] || hashes[0] == unknown || hashes[1] == unknown;
    return may_be_equal && PyUnicode_Compare(object, text) == 0;
}
[[nodiscard]] inline bool is_empty_text(PyObject* object) {
    return PyUnicode_CheckExact(object) && PyUnicode_GET_LENGTH(object) == 0;
}

// Whether the object is a plain list, or a plain tuple, of plain strings.
[[nodiscard]] bool is_list_of_texts(PyObject* object);
[[nodiscard]] bool is_tuple_of_texts(PyObject* object);

// `left == text` in a test, where `text` is a plain str.
[[nodiscard]] inline bool equals(PyObject* left, PyObject* text) {
    return PyUnicode_CheckExact(left) ? is_same_text(left, text) : compare(left, text, Py_EQ);
}

// A piece of a text: ASCII characters, or an object to convert with `str()`.
struct Piece {
    // NOLINTBEGIN(misc-explicit-constructor): lets callers list the pieces directly
    Piece(const char* ascii) noexcept : literal(ascii) {}
    Piece(PyObject* its_object) noexcept : object(its_object) {}
    // NOLINTEND(misc-explicit-constructor)
    std::string_view literal;
    PyObject* object = nullptr;
};

// Concatenates the pieces into a new str.
[[nodiscard]] Ref joined(std::initializer_list<Piece> pieces);

// `sorted(iterable)`
[[nodiscard]] Ref sorted(PyObject* iterable);

// `first, second = iterable`
[[nodiscard]] std::pair<Ref, Ref> unpack_pair(PyObject* iterable);

// `for item in iterable`: a range over new references. Advancing may run any code.
class Iteration {
  public:
    explicit Iteration(PyObject* iterable) : iterator_(checked(PyObject_GetIter(iterable))) {}

    struct End {};
    class Cursor {
      public:
        explicit Cursor(PyObject* iterator) : iterator_(iterator) { ++*this; }
        const Ref& operator*() const noexcept { return item_; }
        bool operator!=(End) const noexcept { return item_.get() != nullptr; }
        Cursor& operator++() {
            item_ = Ref::steal(PyIter_Next(iterator_));
            if (item_.get() == nullptr && PyErr_Occurred() != nullptr) throw PythonError{};
            return *this;
        }

      private:
        PyObject* iterator_;
        Ref item_;
    };
    [[nodiscard]] Cursor begin() const { return Cursor(iterator_); }
    // NOLINTNEXTLINE(readability-convert-member-functions-to-static): range-based for calls it on the object
    [[nodiscard]] End end() const noexcept { return {}; }

  private:
    Ref iterator_;
};

}  // namespace tarnel::python
