#include "media/guide_tracks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace velorin {
namespace {

struct Place {
    double x;
    double y;
};

std::optional<Place> PlaceOnFrame(const GuideTrack& track, double frame) {
    const auto at = std::lower_bound(
        track.positions.begin(), track.positions.end(), frame,
        [](const GuidePosition& position, double wanted) { return position.frame < wanted; });
    if (at == track.positions.end() || at->frame != frame) return std::nullopt;
    return Place{at->x, at->y};
}

std::optional<Place> PlaceAt(const GuideTrack& track, double time) {
    const double frame = std::floor(time);
    const double share = time - frame;
    const std::optional<Place> before = PlaceOnFrame(track, frame);
    if (share == 0.0 || !before) return before;
    const std::optional<Place> after = PlaceOnFrame(track, frame + 1.0);
    if (!after) return std::nullopt;
    return Place{before->x * (1.0 - share) + after->x * share,
                 before->y * (1.0 - share) + after->y * share};
}

bool IsInside(const GuidePosition& position, const GuidePlacement& placement) {
    return position.x >= 0 && position.x <= placement.width - 1 && position.y >= 0 &&
           position.y <= placement.height - 1;
}

}  // namespace

PlacedGuides PlaceGuides(const std::vector<GuideTrack>& tracks, const GuidePlacement& placement) {
    PlacedGuides placed;
    for (const GuideTrack& track : tracks) {
        GuideTrack kept{track.name, {}};
        for (GuidePosition position : track.positions) {
            position.frame -= placement.firstFrame;
            if (placement.origin == GuideOrigin::kTop) {
                position.y = placement.height - 1 - position.y;
            }
            if (IsInside(position, placement)) {
                kept.positions.push_back(position);
            } else {
                ++placed.dropped;
            }
        }
        if (!kept.positions.empty()) placed.tracks.push_back(std::move(kept));
    }
    return placed;
}

GuideSpan SpanOf(const std::vector<GuideTrack>& tracks) {
    GuideSpan span{std::numeric_limits<std::int64_t>::max(),
                   std::numeric_limits<std::int64_t>::min()};
    for (const GuideTrack& track : tracks) {
        if (track.positions.empty()) continue;
        span.first = std::min(span.first, track.positions.front().frame);
        span.last = std::max(span.last, track.positions.back().frame);
    }
    return span;
}

std::vector<bool> GuidedPairs(const std::vector<GuideTrack>& tracks, std::int64_t frames) {
    std::vector<bool> guided(static_cast<std::size_t>(std::max<std::int64_t>(frames - 1, 0)));
    for (const GuideTrack& track : tracks) {
        for (std::size_t i = 1; i < track.positions.size(); ++i) {
            const std::int64_t frame = track.positions[i - 1].frame;
            const bool isInside = frame >= 0 && frame < frames - 1;
            if (!isInside || track.positions[i].frame != frame + 1) continue;
            guided[static_cast<std::size_t>(frame)] = true;
        }
    }
    return guided;
}

GuidePairs PairGuides(const std::vector<GuideTrack>& tracks, double timeA, double timeB) {
    GuidePairs pairs;
    for (const GuideTrack& track : tracks) {
        const std::optional<Place> a = PlaceAt(track, timeA);
        const std::optional<Place> b = PlaceAt(track, timeB);
        if (!a || !b) continue;
        pairs.xA.push_back(static_cast<float>(a->x));
        pairs.yA.push_back(static_cast<float>(a->y));
        pairs.xB.push_back(static_cast<float>(b->x));
        pairs.yB.push_back(static_cast<float>(b->y));
    }
    return pairs;
}

}  // namespace velorin
