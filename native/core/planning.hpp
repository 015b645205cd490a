// The choice of directories, on plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace tarnel::core {

// A candidate directory: its position in the ascending list of all of them.
using Candidate = std::uint16_t;

// The directories that one agent reads, in its order of preference; not empty. A repeated one counts each time.
using Directories = std::span<const Candidate>;

// Candidates for which a search is made at all.
inline constexpr std::size_t max_candidates = 256;

// The selection through which every agent finds a skill, with the fewest double sightings, then the most native
// directories, then the fewest directories, then the first in ascending order: the best of all subsets by that score.
// Ascending. `checkpoint` is called now and then during a long search, and may throw to end it.
[[nodiscard]] std::vector<Candidate> best_selection(std::span<const Directories> agents, std::size_t candidates,
                                                    const std::function<void()>& checkpoint);

// For each agent in turn its native directory, unless it already finds a skill. Ascending.
[[nodiscard]] std::vector<Candidate> quick_selection(std::span<const Directories> agents, std::size_t candidates);

}  // namespace tarnel::core
