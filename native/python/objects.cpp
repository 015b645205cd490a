#include "python/objects.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>

namespace tarnel::python {

namespace {

constexpr int pair_size = 2;
constexpr Py_UCS4 largest_ascii = 0x7F;

// The iterator for unpacking. A non-iterable object gets the interpreter's error for unpacking.
Ref iterator_to_unpack(PyObject* iterable) {
    Ref iterator = Ref::steal(PyObject_GetIter(iterable));
    if (iterator.get() != nullptr) return iterator;
    const PyTypeObject* type = Py_TYPE(iterable);
    if (PyErr_ExceptionMatches(PyExc_TypeError) != 0 && type->tp_iter == nullptr && PySequence_Check(iterable) == 0)
        PyErr_Format(PyExc_TypeError, "cannot unpack non-iterable %.200s object", type->tp_name);
    throw PythonError{};
}

Ref next_to_unpack(PyObject* iterator, int already) {
    Ref item = Ref::steal(PyIter_Next(iterator));
    if (item.get() != nullptr) return item;
    if (PyErr_Occurred() == nullptr)
        PyErr_Format(PyExc_ValueError, "not enough values to unpack (expected %d, got %d)", pair_size, already);
    throw PythonError{};
}

// For a list or a tuple.
bool has_only_texts(PyObject* sequence) {
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(sequence); i++)
        if (!PyUnicode_CheckExact(PySequence_Fast_GET_ITEM(sequence, i))) return false;
    return true;
}

// Writes into a new str and returns the number of characters.
Py_ssize_t write_ascii(PyObject* text, Py_ssize_t start, std::string_view ascii) {
    const int kind = PyUnicode_KIND(text);
    void* data = PyUnicode_DATA(text);
    if (kind == PyUnicode_1BYTE_KIND)
        std::ranges::copy(ascii, static_cast<Py_UCS1*>(data) + start);
    else
        for (std::size_t i = 0; i < ascii.size(); i++)
            PyUnicode_WRITE(kind, data, start + static_cast<Py_ssize_t>(i), ascii[i]);
    return static_cast<Py_ssize_t>(ascii.size());
}

}  // namespace

Ref item_if_any(PyObject* dict, PyObject* key) {
    Ref value = Ref::borrow(PyDict_GetItemWithError(dict, key));
    if (value.get() == nullptr && PyErr_Occurred() != nullptr) throw PythonError{};
    return value;
}

Ref item_if_any(PyObject* dict, const char* key) {
    const Ref name = interned(key);
    return item_if_any(dict, name);
}

std::optional<std::string_view> utf8_of(PyObject* text) {
    if (!PyUnicode_CheckExact(text)) return {};
    Py_ssize_t size = 0;
    const char* utf8 = PyUnicode_AsUTF8AndSize(text, &size);
    if (utf8 != nullptr) return std::string_view(utf8, static_cast<std::size_t>(size));
    if (PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) == 0) throw PythonError{};
    PyErr_Clear();
    return {};
}

Ref interned(std::string_view ascii) {
    Ref text = checked(PyUnicode_New(std::ssize(ascii), largest_ascii));
    std::ranges::copy(ascii, static_cast<char*>(PyUnicode_DATA(text.get())));
    PyObject* unique = text.release();
    PyUnicode_InternInPlace(&unique);
    return Ref::steal(unique);
}

Ref tuple_of(std::initializer_list<PyObject*> items) {
    Ref tuple = checked(PyTuple_New(std::ssize(items)));
    Py_ssize_t index = 0;
    for (PyObject* item : items) PyTuple_SET_ITEM(tuple.get(), index++, Py_NewRef(item));
    return tuple;
}

bool is_list_of_texts(PyObject* object) { return PyList_CheckExact(object) && has_only_texts(object); }

bool is_tuple_of_texts(PyObject* object) { return PyTuple_CheckExact(object) && has_only_texts(object); }

namespace {

// The fast path of `joined`: null unless all objects are plain ASCII strings.
Ref joined_ascii(std::initializer_list<Piece> pieces) {
    std::size_t length = 0;
    for (const auto& [literal, object] : pieces) {
        const bool is_ascii = object == nullptr || (PyUnicode_CheckExact(object) && PyUnicode_IS_COMPACT_ASCII(object));
        if (!is_ascii) return {};
        length += object == nullptr ? literal.size() : static_cast<std::size_t>(PyUnicode_GET_LENGTH(object));
    }
    Ref whole = checked(PyUnicode_New(static_cast<Py_ssize_t>(length), largest_ascii));
    auto* end = static_cast<char*>(PyUnicode_DATA(whole.get()));
    for (const auto& [literal, object] : pieces) {
        const auto* data = object == nullptr ? literal.data() : static_cast<const char*>(PyUnicode_DATA(object));
        const std::size_t size =
            object == nullptr ? literal.size() : static_cast<std::size_t>(PyUnicode_GET_LENGTH(object));
        end = std::copy_n(data, size, end);
    }
    return whole;
}

}  // namespace

Ref joined(std::initializer_list<Piece> pieces) {
    if (Ref whole = joined_ascii(pieces); whole.get() != nullptr) return whole;
    constexpr std::size_t most_pieces = 4;
    if (pieces.size() > most_pieces) throw std::length_error("a text of too many pieces");
    std::array<Ref, most_pieces> texts;
    std::size_t length = 0;
    Py_UCS4 largest = 0;
    std::size_t index = 0;
    for (const auto& [literal, object] : pieces) {
        Ref& text = texts[index++];
        if (object == nullptr) {
            length += literal.size();
            continue;
        }
        text = checked(PyObject_Str(object));
        length += static_cast<std::size_t>(PyUnicode_GET_LENGTH(text.get()));
        largest = std::max(largest, PyUnicode_MAX_CHAR_VALUE(text.get()));
    }
    Ref whole = checked(PyUnicode_New(static_cast<Py_ssize_t>(length), std::max(largest, largest_ascii)));
    Py_ssize_t end = 0;
    index = 0;
    for (const auto& [literal, object] : pieces) {
        const Ref& text = texts[index++];
        end += write_ascii(whole, end, literal);
        if (object != nullptr)
            end += checked(PyUnicode_CopyCharacters(whole, end, text, 0, PyUnicode_GET_LENGTH(text.get())));
    }
    return whole;
}

Ref sorted(PyObject* iterable) {
    Ref list = checked(PySequence_List(iterable));
    checked(PyList_Sort(list));
    return list;
}

std::pair<Ref, Ref> unpack_pair(PyObject* iterable) {
    const Ref iterator = iterator_to_unpack(iterable);
    Ref first = next_to_unpack(iterator, 0);
    Ref second = next_to_unpack(iterator, 1);
    const Ref surplus = Ref::steal(PyIter_Next(iterator));
    if (surplus.get() != nullptr) PyErr_Format(PyExc_ValueError, "too many values to unpack (expected %d)", pair_size);
    if (PyErr_Occurred() != nullptr) throw PythonError{};
    return {std::move(first), std::move(second)};
}

}  // namespace tarnel::python
