// Converts agent roots to the input of the core's planner.
#pragma once

#include <optional>
#include <vector>

#include "core/planning.hpp"
#include "python/reference.hpp"

namespace tarnel::skill {

// The table for a plain agent roots mapping. Owns the directories, so the mapping may change.
class PlanningTable {
  public:
    // Nothing unless the mapping is a plain dict of non-empty tuples of plain strings, or if it has too many
    // directories. Runs no foreign code.
    [[nodiscard]] static std::optional<PlanningTable> of(PyObject* agent_roots);

    [[nodiscard]] const std::vector<core::Directories>& agents() const noexcept { return agents_; }
    [[nodiscard]] std::size_t candidates() const noexcept { return directories_.size(); }

    // Renumbers the candidates in ascending order, as core::best_selection requires.
    void sort_candidates();

    // A new list of the selected directories, ascending.
    [[nodiscard]] python::Ref list_of(const std::vector<core::Candidate>& selection) const;

  private:
    PlanningTable() = default;
    bool add(PyObject* directories, PyObject* numbers);

    std::vector<core::Candidate> readings_;  // all agents' directories, concatenated
    std::vector<core::Directories> agents_;  // spans of `readings_`
    std::vector<python::Ref> directories_;   // by candidate
};

}  // namespace tarnel::skill
