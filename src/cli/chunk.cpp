#include "cli/chunk.h"

#include <charconv>
#include <cstddef>

namespace velorin {

namespace {

constexpr std::int64_t kMostChunks = 1000000;

// Frames that follow each other with one pair of source frames.
struct PairRun {
    std::size_t end = 0;          // behind its last frame
    std::int64_t costBehind = 0;  // of everything up to that
};

bool ReadNumber(std::string_view text, std::int64_t& number) {
    const auto [rest, failure] = std::from_chars(text.begin(), text.end(), number);
    return failure == std::errc() && rest == text.end();
}

std::vector<PairRun> PairRuns(const std::vector<std::int64_t>& frames, const TimeLaw& law,
                              const RequestSettings& request, const FrameCosts& costs) {
    std::vector<PairRun> runs;
    std::int64_t cost = 0;
    std::int64_t lastPair = 0;
    FlowForecast flows(costs.keepsFlows);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const std::vector<PassForecast> passes = ForecastOf(law, frames[i], request);
        const bool begins = i == 0 || passes.front().pair != lastPair;
        lastPair = passes.back().pair;
        const std::vector<bool> estimates = flows.Next(passes);
        cost += costs.frame;
        for (std::size_t pass = 0; pass < passes.size(); ++pass) {
            if (!passes[pass].Copies()) cost += costs.mix;
            if (estimates[pass]) cost += costs.pair;
        }
        if (begins) runs.emplace_back();
        runs.back() = {i + 1, cost};
    }
    return runs;
}

}  // namespace

std::optional<Chunk> ParseChunk(std::string_view text) {
    const std::size_t slash = text.find('/');
    Chunk chunk;
    if (slash == std::string_view::npos || !ReadNumber(text.substr(0, slash), chunk.number) ||
        !ReadNumber(text.substr(slash + 1), chunk.of)) {
        return std::nullopt;
    }
    const bool known = chunk.number >= 1 && chunk.number <= chunk.of && chunk.of <= kMostChunks;
    return known ? std::optional(chunk) : std::nullopt;
}

// A run belongs to the chunk in whose share of the cost its middle lies.
std::vector<std::int64_t> FramesOfChunk(const std::vector<std::int64_t>& frames, const Chunk& chunk,
                                        const TimeLaw& law, const RequestSettings& request,
                                        const FrameCosts& costs) {
    const std::vector<PairRun> runs = PairRuns(frames, law, request, costs);
    std::vector<std::int64_t> chosen;
    std::size_t begin = 0;
    std::int64_t costBefore = 0;
    for (const PairRun& run : runs) {
        const double middle =
            (static_cast<double>(costBefore) + static_cast<double>(run.costBehind)) / 2;
        const double share = middle / static_cast<double>(runs.back().costBehind);
        const auto owner = static_cast<std::int64_t>(share * static_cast<double>(chunk.of));
        if (owner == chunk.number - 1) {
            chosen.insert(chosen.end(), frames.begin() + static_cast<std::ptrdiff_t>(begin),
                          frames.begin() + static_cast<std::ptrdiff_t>(run.end));
        }
        begin = run.end;
        costBefore = run.costBehind;
    }
    return chosen;
}

}  // namespace velorin
