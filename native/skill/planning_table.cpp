#include "skill/planning_table.hpp"

#include <algorithm>
#include <limits>
#include <numeric>

#include "python/objects.hpp"

namespace tarnel::skill {

using python::checked;
using python::integer;
using python::Ref;

std::optional<PlanningTable> PlanningTable::of(PyObject* agent_roots) {
    if (!PyDict_CheckExact(agent_roots)) return {};
    std::size_t readings = 0;
    PyObject* directories = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, nullptr, &directories) != 0;) {
        if (!PyTuple_CheckExact(directories) || PyTuple_GET_SIZE(directories) == 0) return {};
        readings += static_cast<std::size_t>(PyTuple_GET_SIZE(directories));
    }
    PlanningTable table;
    table.readings_.reserve(readings);
    table.directories_.reserve(readings);
    table.agents_.reserve(static_cast<std::size_t>(PyDict_GET_SIZE(agent_roots)));
    const Ref numbers = checked(PyDict_New());  // number by directory, in order of first occurrence
    for (Py_ssize_t position = 0; PyDict_Next(agent_roots, &position, nullptr, &directories) != 0;)
        if (!table.add(directories, numbers)) return {};
    return table;
}

bool PlanningTable::add(PyObject* directories, PyObject* numbers) {
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(directories); i++) {
        PyObject* directory = PyTuple_GET_ITEM(directories, i);
        if (!PyUnicode_CheckExact(directory)) return false;
        const std::size_t next = directories_.size();
        const Ref number = integer(next);
        PyObject* known = PyDict_SetDefault(numbers, directory, number);
        if (known == nullptr) throw python::PythonError{};
        if (known == number.get()) directories_.push_back(Ref::borrow(directory));
        if (directories_.size() > std::numeric_limits<core::Candidate>::max()) return false;
        readings_.push_back(static_cast<core::Candidate>(PyLong_AsSsize_t(known)));
    }
    agents_.emplace_back(std::span(readings_).last(static_cast<std::size_t>(PyTuple_GET_SIZE(directories))));
    return true;
}

void PlanningTable::sort_candidates() {
    std::vector<core::Candidate> order(directories_.size());
    std::iota(order.begin(), order.end(), core::Candidate{0});
    std::ranges::sort(order, [this](core::Candidate left, core::Candidate right) {
        return PyUnicode_Compare(directories_[left], directories_[right]) < 0;
    });
    std::vector<core::Candidate> ranks(order.size());
    std::vector<Ref> ascending;
    ascending.reserve(order.size());
    for (const core::Candidate number : order) {
        ranks[number] = static_cast<core::Candidate>(ascending.size());
        ascending.push_back(std::move(directories_[number]));
    }
    directories_ = std::move(ascending);
    for (core::Candidate& directory : readings_) directory = ranks[directory];
}

Ref PlanningTable::list_of(const std::vector<core::Candidate>& selection) const {
    Ref list = checked(PyList_New(static_cast<Py_ssize_t>(selection.size())));
    for (std::size_t i = 0; i < selection.size(); i++)
        PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), Py_NewRef(directories_[selection[i]]));
    checked(PyList_Sort(list));
    return list;
}

}  // namespace tarnel::skill
