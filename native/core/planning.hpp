// Chooses directories, on plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace tarnel::core {

// A candidate directory: its index in the ascending list of all candidates.
using Candidate = std::uint16_t;

// The directories one agent reads, in order of preference. Never empty. A repeated directory counts each time.
using Directories = std::span<const Candidate>;

// The largest number of candidates to search natively.
inline constexpr std::size_t max_candidates = 256;

// The best of all subsets through which every agent finds a skill, ascending: the fewest duplicates, then the most
// native directories, then the fewest directories, then the first in lexicographic order. `checkpoint` is called
// periodically during a long search and may throw to stop it.
[[nodiscard]] std::vector<Candidate> best_selection(std::span<const Directories> agents, std::size_t candidates,
                                                    const std::function<void()>& checkpoint);

// The greedy choice: each agent's native directory, unless the agent already finds a skill. Ascending.
[[nodiscard]] std::vector<Candidate> quick_selection(std::span<const Directories> agents, std::size_t candidates);

}  // namespace tarnel::core
