#include "cli/repeats.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace velorin {

namespace {

// Than its neighbours. Coding leaves up to half of a change in a frame that repeats another; where
// motion turns there is a run of still frames that become so by and by.
constexpr float kStiller = 0.5f;
constexpr float kFarStiller = 0.35f;  // of a run
constexpr int kShortestCycle = 2;
constexpr int kLongestCycle = 12;
constexpr std::int64_t kFewestCycles = 3;
constexpr double kMost = 0.9;

class Sparse final : public ClipReader {
  public:
    Sparse(std::unique_ptr<ClipReader> wholeClip, const std::vector<std::int64_t>& frames)
        : clip(std::move(wholeClip)), info(clip->Info()) {
        std::vector<std::int64_t> missing;
        std::set_union(frames.begin(), frames.end(), info.missing.begin(), info.missing.end(),
                       std::back_inserter(missing));
        info.missing = std::move(missing);
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override { clip->Read(frame, picture); }
    void KeepFieldsApart() override { clip->KeepFieldsApart(); }
    void KeepUnstoredClear() override { clip->KeepUnstoredClear(); }

  private:
    std::unique_ptr<ClipReader> clip;
    ClipInfo info;
};

// Whether the frames from `begin` to before `end` are that much stiller than those beside them.
bool StandsOut(const std::vector<float>& changes, std::size_t begin, std::size_t end) {
    const float most = *std::max_element(changes.begin() + static_cast<std::ptrdiff_t>(begin),
                                         changes.begin() + static_cast<std::ptrdiff_t>(end));
    const float share = end - begin > 1 ? kFarStiller : kStiller;
    return most <= share * std::min(changes[begin - 1], changes[end]);
}

// The greatest change among the neighbours of a frame, as far as a run may reach.
float MostAround(const std::vector<float>& changes, std::size_t frame) {
    constexpr std::size_t kReach = kMostRepeats + 1;
    float most = 0.0f;
    const std::size_t end = std::min(changes.size(), frame + kReach + 1);
    for (std::size_t i = frame > kReach ? frame - kReach : 0; i < end; ++i) {
        if (std::isfinite(changes[i])) most = std::max(most, changes[i]);
    }
    return most;
}

}  // namespace

std::vector<std::int64_t> RepeatsOf(const std::vector<float>& changes,
                                    const std::vector<std::int64_t>& cuts, float tolerance) {
    const auto isStill = [&](std::size_t frame) {
        return changes[frame] <= tolerance &&
               changes[frame] <= kStiller * MostAround(changes, frame);
    };
    std::vector<std::int64_t> repeats;
    for (std::size_t begin = 1; begin < changes.size(); ++begin) {
        std::size_t end = begin;
        while (end < changes.size() && isStill(end)) ++end;
        if (end == begin) continue;
        const bool leadsOn = end < changes.size() &&
                             !std::binary_search(cuts.begin(), cuts.end(), std::int64_t(end));
        if (leadsOn && end - begin <= kMostRepeats && StandsOut(changes, begin, end)) {
            for (std::size_t i = begin; i < end; ++i) repeats.push_back(std::int64_t(i));
        }
        begin = end;
    }
    return repeats;
}

std::string PatternOf(const std::vector<std::int64_t>& frames) {
    if (frames.empty()) return {};
    const std::int64_t span = frames.back() - frames.front() + 1;
    for (int cycle = kShortestCycle; cycle <= kLongestCycle; ++cycle) {
        if (span < kFewestCycles * cycle) break;
        std::vector<std::int64_t> counts(static_cast<std::size_t>(cycle));
        for (const std::int64_t frame : frames) ++counts[frame % cycle];
        const double full = kMost * static_cast<double>(span) / cycle;
        std::int64_t places = 0, held = 0;
        for (const std::int64_t count : counts) {
            if (static_cast<double>(count) < full) continue;
            ++places;
            held += count;
        }
        if (static_cast<double>(held) < kMost * static_cast<double>(frames.size())) continue;
        if (places != 1) {
            return std::to_string(places) + " of every " + std::to_string(cycle) + " frames";
        }
        const char* ending = cycle == 2 ? "nd" : cycle == 3 ? "rd" : "th";
        return "every " + std::to_string(cycle) + ending + " frame";
    }
    return {};
}

std::unique_ptr<ClipReader> WithoutFrames(std::unique_ptr<ClipReader> clip,
                                          const std::vector<std::int64_t>& frames) {
    return std::make_unique<Sparse>(std::move(clip), frames);
}

}  // namespace velorin
