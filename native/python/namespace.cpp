#include "python/namespace.hpp"

#include <cstdint>
#include <stdexcept>

#include "python/lookup.hpp"
#include "python/objects.hpp"

namespace tarnel::python {

PyObject* Literals::operator[](const char* text) {
    constexpr std::uintptr_t multiplier = 0x9E3779B1;  // spreads addresses that are close together
    std::size_t index = ((reinterpret_cast<std::uintptr_t>(text) * multiplier) >> 16U) % entries_.size();
    for (std::size_t i = 0; i < entries_.size(); i++) {
        Entry& entry = entries_[index];
        if (entry.text == text) return entry.interned;
        if (entry.text == nullptr) {
            entry.interned = interned(text);
            entry.text = text;
            return entry.interned;
        }
        index = (index + 1) % entries_.size();
    }
    throw std::length_error("more literals than their table has room for");
}

Ref Namespace::operator[](const char* name) { return look_up(dict_, PyEval_GetBuiltins(), literals_[name]); }

PyObject* Namespace::file() {
    if (file_.get() == nullptr) file_ = item_if_any(dict_, literals_["__file__"]);
    if (file_.get() == nullptr || !PyUnicode_Check(file_.get()))
        file_ = Ref::borrow(literals_["<extension module>"]);  // the module is linked into an executable
    return file_;
}

}  // namespace tarnel::python
