#include "media/guide_tracks.h"

#include <gtest/gtest.h>

#include <array>

namespace velorin {
namespace {

using Positions = std::vector<GuidePosition>;
using Floats = std::vector<float>;

TEST(PlaceGuides, CountsFromTheBottomLineAndDropsWhatIsOutside) {
    const std::vector<GuideTrack> tracks = {
        {"a", {{1001, 0, 0}, {1002, 99, 49}, {1003, 10.25, 20.5}}},
        {"b", {{1001, -0.25, 3}, {1002, 99.25, 3}, {1003, 3, -0.25}, {1004, 3, 49.25}}}};
    const PlacedGuides bottom = PlaceGuides(tracks, {GuideOrigin::kBottom, 100, 50, 1001});
    ASSERT_EQ(bottom.tracks.size(), 1u);
    EXPECT_EQ(bottom.tracks[0].name, "a");
    EXPECT_EQ(bottom.tracks[0].positions, (Positions{{0, 0, 0}, {1, 99, 49}, {2, 10.25, 20.5}}));
    EXPECT_EQ(bottom.dropped, 4u);
    const PlacedGuides top = PlaceGuides(tracks, {GuideOrigin::kTop, 100, 50, 0});
    ASSERT_EQ(top.tracks.size(), 1u);
    EXPECT_EQ(top.tracks[0].positions,
              (Positions{{1001, 0, 49}, {1002, 99, 0}, {1003, 10.25, 28.5}}));
    EXPECT_EQ(top.dropped, 4u);
    EXPECT_EQ(SpanOf(tracks).first, 1001);
    EXPECT_EQ(SpanOf(tracks).last, 1004);
}

struct PairCase {
    double timeA, timeB;
    std::array<Floats, 4> arrays;
};

TEST(PairGuides, PairsTracksThatArePresentAtBothTimes) {
    // The first one misses frame 2, the second one begins there.
    const std::vector<GuideTrack> tracks = {{"a", {{0, 10, 20}, {1, 12, 23}, {3, 50, 60}}},
                                            {"b", {{2, 1, 2}, {3, 3, 5}, {4, 6, 9}}}};
    const std::array<Floats, 4> none;
    const std::vector<PairCase> cases = {
        {0, 1, {{{10}, {20}, {12}, {23}}}},
        {1, 0, {{{12}, {23}, {10}, {20}}}},
        {3, 3, {{{50, 3}, {60, 5}, {50, 3}, {60, 5}}}},
        {0.5, 1, {{{11}, {21.5f}, {12}, {23}}}},
        {2.5, 3.5, {{{2}, {3.5f}, {4.5f}, {7}}}},
        {1, 3, {{{12}, {23}, {50}, {60}}}},
        {1, 2, none},
        {1, 1.5, none},
        {1, 2.5, none},
        {-0.5, 0, none},
        {4, 4.5, none},
    };
    for (const PairCase& wanted : cases) {
        const GuidePairs pairs = PairGuides(tracks, wanted.timeA, wanted.timeB);
        const std::array<Floats, 4> arrays = {pairs.xA, pairs.yA, pairs.xB, pairs.yB};
        EXPECT_EQ(arrays, wanted.arrays) << wanted.timeA << " to " << wanted.timeB;
    }
}

TEST(GuidedPairs, AreThoseWithAPointOnBothFrames) {
    const std::vector<GuideTrack> tracks = {
        {"a", {{-1, 1, 1}, {0, 1, 1}, {1, 1, 1}, {3, 1, 1}}},
        {"b", {{2, 1, 1}, {4, 1, 1}, {5, 1, 1}, {6, 1, 1}, {7, 1, 1}}}};
    EXPECT_EQ(GuidedPairs(tracks, 7), (std::vector<bool>{true, false, false, false, true, true}));
    EXPECT_EQ(GuidedPairs(tracks, 2), std::vector<bool>{true});
    EXPECT_TRUE(GuidedPairs(tracks, 1).empty());
}

}  // namespace
}  // namespace velorin
