// The directories that are chosen are the best of all subsets by the score.
#include <algorithm>
#include <tuple>

#include "core/planning.hpp"
#include "texts.hpp"

using tarnel::core::Candidate;
using tarnel::core::Directories;
using Selection = std::vector<Candidate>;

namespace {

// Double sightings, how far from native, and the selection; nothing if an agent finds no skill.
std::optional<std::tuple<std::size_t, std::size_t, std::size_t, Selection>> score(std::span<const Directories> agents,
                                                                                  const Selection& selection) {
    std::size_t duplicates = 0;
    std::size_t native_rank = 0;
    for (const Directories& directories : agents) {
        std::vector<std::size_t> hits;
        for (std::size_t i = 0; i < directories.size(); i++)
            if (std::ranges::find(selection, directories[i]) != selection.end()) hits.push_back(i);
        if (hits.empty()) return {};
        duplicates += hits.size() - 1;
        native_rank += hits.front();
    }
    return std::tuple(duplicates, native_rank, selection.size(), selection);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const std::size_t candidates = (data[0] % 10) + 1;
    std::vector<Directories> agents(1);
    for (const std::uint8_t byte : std::span(data, size).subspan(1)) {
        if (byte % 16 < candidates)
            agents.back().push_back(byte % 16);
        else if (!agents.back().empty())
            agents.emplace_back();
    }
    if (agents.back().empty()) agents.pop_back();

    auto best = score({}, {});
    best.reset();
    Selection quick;
    for (std::size_t subset = 0; subset < std::size_t{1} << candidates; subset++) {
        Selection selection;
        for (std::size_t i = 0; i < candidates; i++)
            if ((subset >> i & 1U) != 0) selection.push_back(static_cast<Candidate>(i));
        const auto now = score(agents, selection);
        if (now && (!best || *now < *best)) best = now;
    }
    fuzz::require(tarnel::core::best_selection(agents, candidates, [] {}) == std::get<Selection>(*best));

    for (const Directories& directories : agents)
        if (!std::ranges::any_of(directories,
                                 [&](Candidate one) { return std::ranges::find(quick, one) != quick.end(); }))
            quick.push_back(directories.front());
    std::ranges::sort(quick);
    fuzz::require(tarnel::core::quick_selection(agents, candidates) == quick);
    return 0;
}
