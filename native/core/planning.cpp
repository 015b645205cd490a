#include "core/planning.hpp"

#include <algorithm>
#include <limits>
#include <ranges>
#include <tuple>
#include <utility>

namespace tarnel::core {

namespace {

constexpr std::size_t nodes_between_checkpoints = 1024;

// One agent's use of a directory.
struct Reading {
    std::size_t agent;
    std::size_t times;     // number of times the agent lists the directory
    std::size_t position;  // of its first occurrence in the agent's order of preference
};

// Ranks selections, lowest first. The selections themselves break ties.
struct Score {
    std::size_t duplicates = 0;
    std::size_t native_rank = 0;
    std::size_t size = 0;
    friend auto operator<=>(const Score&, const Score&) = default;
};

// Branch-and-bound search for the best selection for a set of agents, usually one group.
//
// A selection with a redundant directory never wins: without the directory it has fewer duplicates. So each node picks
// an agent that finds no skill yet and tries its directories in turn. A directory that has been tried is excluded from
// later sibling branches, so no selection is visited twice. Adding a directory never reduces the duplicates, so the
// best selection so far bounds the search.
class Search {
  public:
    Search(std::span<const Directories> agents, std::size_t candidates, const std::function<void()>& checkpoint)
        : candidates_(candidates), checkpoint_(checkpoint) {
        agents_.reserve(agents.size());
        for (const Directories directories : agents) add(directories);
        find_readers();
    }

    void run() { visit(); }
    [[nodiscard]] const std::vector<Candidate>& best() const { return best_selection_; }

  private:
    struct AgentState {
        Directories directories;
        std::size_t weight = 1;     // number of agents with the same directories
        std::size_t sightings = 0;  // selected directories in its list, with repetitions
        std::size_t rank = 0;       // if there are sightings: position of the first selected directory
    };
    struct CandidateState {
        std::size_t first_reading = 0;  // index into `readings_`
        std::size_t end_of_readings = 0;
        std::size_t cost = 0;  // duplicates that it would add at the current node
        bool is_excluded = false;
    };

    void add(Directories directories) {
        const auto known = std::ranges::find_if(
            agents_, [&](const AgentState& other) { return std::ranges::equal(other.directories, directories); });
        if (known == agents_.end())
            agents_.push_back({.directories = directories});
        else
            known->weight++;
        unserved_ = agents_.size();
    }

    // Groups the agents' readings by candidate.
    void find_readers() {
        for (const AgentState& agent : agents_)
            for (const Candidate directory : agent.directories) candidates_[directory].end_of_readings++;
        std::size_t end = 0;
        for (CandidateState& candidate : candidates_) {
            candidate.first_reading = end;
            end += std::exchange(candidate.end_of_readings, end);
        }
        readings_.resize(end);
        saved_ranks_.reserve(end);
        selection_.reserve(candidates_.size());
        for (std::size_t agent = 0; agent < agents_.size(); agent++) {
            const Directories directories = agents_[agent].directories;
            for (std::size_t position = 0; position < directories.size(); position++) {
                CandidateState& candidate = candidates_[directories[position]];
                const bool is_first = candidate.end_of_readings == candidate.first_reading;
                if (!is_first && readings_[candidate.end_of_readings - 1].agent == agent)
                    readings_[candidate.end_of_readings - 1].times++;
                else
                    readings_[candidate.end_of_readings++] = {agent, 1, position};
            }
        }
    }

    [[nodiscard]] std::span<const Reading> readers(Candidate directory) const {
        const CandidateState& candidate = candidates_[directory];
        return std::span(readings_).subspan(candidate.first_reading,
                                            candidate.end_of_readings - candidate.first_reading);
    }

    [[nodiscard]] std::size_t cost(Candidate directory) const {
        std::size_t added = 0;
        for (const auto& [reader, times, position] : readers(directory)) {
            const AgentState& agent = agents_[reader];
            added += agent.weight * (agent.sightings == 0 ? times - 1 : times);
        }
        return added;
    }

    [[nodiscard]] bool can_win(Candidate directory) const {
        const CandidateState& candidate = candidates_[directory];
        return !candidate.is_excluded && score_.duplicates + candidate.cost <= bound_.duplicates;
    }

    // Whether every extension of the selection scores worse than the best one. Once no duplicate may be added, further
    // directories don't affect the agents that already find a skill.
    [[nodiscard]] bool is_hopeless(std::size_t least_native_rank_to_add) const {
        if (score_.duplicates < bound_.duplicates) return false;
        const std::size_t native_rank = score_.native_rank + least_native_rank_to_add;
        return std::pair(native_rank, score_.size + 1) > std::pair(bound_.native_rank, bound_.size);
    }

    // The recursion depth is the size of the selection.
    // NOLINTNEXTLINE(misc-no-recursion)
    void visit() {
        if (++nodes_ % nodes_between_checkpoints == 0) checkpoint_();
        if (unserved_ == 0) {
            keep_if_best();
            return;
        }
        for (std::size_t i = 0; i < candidates_.size(); i++) candidates_[i].cost = cost(static_cast<Candidate>(i));
        Directories fewest;
        std::ptrdiff_t fewest_options = std::numeric_limits<std::ptrdiff_t>::max();
        std::size_t least_native_rank = 0;
        for (const AgentState& agent : agents_) {
            if (agent.sightings > 0) continue;
            const Directories directories = agent.directories;
            const auto viable = [this](Candidate directory) { return can_win(directory); };
            const auto first = std::ranges::find_if(directories, viable);
            if (first == directories.end()) return;
            least_native_rank += agent.weight * static_cast<std::size_t>(first - directories.begin());
            const std::ptrdiff_t options = std::count_if(first, directories.end(), viable);
            if (options < fewest_options) fewest = directories;
            fewest_options = std::min(options, fewest_options);
        }
        if (!is_hopeless(least_native_rank)) branch(fewest);
    }

    // Tries the directories, cheapest first, then most native.
    // NOLINTNEXTLINE(misc-no-recursion)
    void branch(Directories directories) {
        std::vector<std::pair<std::size_t, std::size_t>> options;  // cost, position
        options.reserve(directories.size());
        for (std::size_t position = 0; position < directories.size(); position++)
            if (can_win(directories[position])) options.emplace_back(candidates_[directories[position]].cost, position);
        std::ranges::sort(options);
        for (const auto& [cost, position] : options) {
            const Candidate directory = directories[position];
            if (candidates_[directory].is_excluded) continue;  // listed twice
            choose(directory);
            visit();
            undo(directory);
            candidates_[directory].is_excluded = true;
        }
        for (const auto& [cost, position] : options) candidates_[directories[position]].is_excluded = false;
    }

    void choose(Candidate directory) {
        score_.duplicates += cost(directory);
        score_.size++;
        selection_.push_back(directory);
        for (const auto& [reader, times, position] : readers(directory)) {
            AgentState& agent = agents_[reader];
            saved_ranks_.push_back(agent.rank);
            if (agent.sightings == 0) {
                unserved_--;
                agent.rank = position;
                score_.native_rank += agent.weight * position;
            } else if (position < agent.rank) {
                score_.native_rank -= agent.weight * (agent.rank - position);
                agent.rank = position;
            }
            agent.sightings += times;
        }
    }

    void undo(Candidate directory) {
        for (const auto& [reader, times, position] : std::views::reverse(readers(directory))) {
            AgentState& agent = agents_[reader];
            score_.native_rank -= agent.weight * agent.rank;
            agent.sightings -= times;
            agent.rank = saved_ranks_.back();
            saved_ranks_.pop_back();
            if (agent.sightings == 0)
                unserved_++;
            else
                score_.native_rank += agent.weight * agent.rank;
        }
        selection_.pop_back();
        score_.size--;
        score_.duplicates -= cost(directory);
    }

    void keep_if_best() {
        std::vector<Candidate> sorted = selection_;
        std::ranges::sort(sorted);
        if (std::tie(score_, sorted) >= std::tie(bound_, best_selection_)) return;
        bound_ = score_;
        best_selection_ = std::move(sorted);
    }

    static constexpr std::size_t worst = std::numeric_limits<std::size_t>::max();

    std::vector<AgentState> agents_;
    std::vector<CandidateState> candidates_;
    std::vector<Reading> readings_;  // grouped by candidate

    std::vector<Candidate> selection_;
    std::vector<std::size_t> saved_ranks_;
    std::size_t unserved_ = 0;
    Score score_;

    Score bound_{worst, worst, worst};
    std::vector<Candidate> best_selection_;
    std::size_t nodes_ = 0;
    const std::function<void()>& checkpoint_;
};

// Candidates connected through the agents that read them. Each group can be solved independently.
struct Group {
    std::vector<Candidate> candidates;  // ascending
    std::vector<Directories> agents;    // positions in `candidates`
};

struct Groups {
    std::vector<Candidate> positions;  // all agents' directories, concatenated; the groups hold spans of it
    std::vector<Group> groups;
};

class Connections {
  public:
    explicit Connections(std::size_t candidates) : parents_(candidates) {
        for (std::size_t i = 0; i < candidates; i++) parents_[i] = static_cast<Candidate>(i);
    }
    void connect(Candidate one, Candidate other) { parents_[root(one)] = root(other); }
    [[nodiscard]] Candidate root(Candidate candidate) {
        while (parents_[candidate] != candidate) candidate = parents_[candidate] = parents_[parents_[candidate]];
        return candidate;
    }

  private:
    std::vector<Candidate> parents_;
};

Groups groups_of(std::span<const Directories> agents, std::size_t candidates) {
    Connections connections(candidates);
    std::size_t readings = 0;
    for (const Directories directories : agents) {
        readings += directories.size();
        for (const Candidate directory : directories) connections.connect(directory, directories.front());
    }
    std::vector<Group> groups(candidates);  // indexed by root; most stay empty
    std::vector<Candidate> positions(candidates);
    for (std::size_t i = 0; i < candidates; i++) {
        std::vector<Candidate>& members = groups[connections.root(static_cast<Candidate>(i))].candidates;
        positions[i] = static_cast<Candidate>(members.size());
        members.push_back(static_cast<Candidate>(i));
    }
    std::vector<Candidate> local;
    local.reserve(readings);
    for (const Directories directories : agents) {
        for (const Candidate directory : directories) local.push_back(positions[directory]);
        groups[connections.root(directories.front())].agents.emplace_back(std::span(local).last(directories.size()));
    }
    return {std::move(local), std::move(groups)};
}

}  // namespace

std::vector<Candidate> best_selection(std::span<const Directories> agents, std::size_t candidates,
                                      const std::function<void()>& checkpoint) {
    // For few candidates, searching is faster than grouping.
    constexpr std::size_t few_candidates = 8;
    if (candidates <= few_candidates) {
        Search search(agents, candidates, checkpoint);
        search.run();
        return search.best();
    }
    std::vector<Candidate> selection;
    const Groups all = groups_of(agents, candidates);
    for (const Group& group : all.groups) {
        if (group.agents.empty()) continue;
        Search search(group.agents, group.candidates.size(), checkpoint);
        search.run();
        for (const Candidate local : search.best()) selection.push_back(group.candidates[local]);
    }
    std::ranges::sort(selection);
    return selection;
}

std::vector<Candidate> quick_selection(std::span<const Directories> agents, std::size_t candidates) {
    std::vector<char> chosen(candidates);
    for (const Directories directories : agents)
        if (std::ranges::none_of(directories, [&](Candidate directory) { return chosen[directory] != 0; }))
            chosen[directories.front()] = 1;
    std::vector<Candidate> selection;
    for (std::size_t i = 0; i < candidates; i++)
        if (chosen[i] != 0) selection.push_back(static_cast<Candidate>(i));
    return selection;
}

}  // namespace tarnel::core
