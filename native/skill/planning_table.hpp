// Agent roots as the planner of the core takes them.
#pragma once

#include <optional>
#include <vector>

#include "core/planning.hpp"
#include "python/reference.hpp"

namespace tarnel::skill {

// The table of a plain agent roots mapping. Holds the directories; the mapping may change.
class PlanningTable {
  public:
    // Nothing for a mapping that isn't a plain dict of tuples of plain strings, none of them empty, or that has too
    // many directories. Runs no foreign code.
    [[nodiscard]] static std::optional<PlanningTable> of(PyObject* agent_roots);

    [[nodiscard]] const std::vector<core::Directories>& agents() const noexcept { return agents_; }
    [[nodiscard]] std::size_t candidates() const noexcept { return directories_.size(); }

    // Numbers the candidates in ascending order, as a search for the best selection takes them.
    void sort_candidates();

    // A new list of the directories that are selected, ascending.
    [[nodiscard]] python::Ref list_of(const std::vector<core::Candidate>& selection) const;

  private:
    PlanningTable() = default;
    bool add(PyObject* directories, PyObject* numbers);

    std::vector<core::Candidate> readings_;  // what the agents read, one after the other
    std::vector<core::Directories> agents_;  // of `readings_`
    std::vector<python::Ref> directories_;   // by candidate
};

}  // namespace tarnel::skill
