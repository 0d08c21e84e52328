#include "cli/motion_options.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

using Words = std::vector<const char*>;

Options Parse(Words words) {
    words.insert(words.begin(), {"in", "-o", "out.mkv"});
    return ParseOptions(kVerbRetime, static_cast<int>(words.size()), words.data()).value();
}

TEST(MotionOptions, GuideFilesEachHaveALayerAndASource) {
    const Options options = Parse({"--matte=m", "--guides=a", "--guides=b", "--guides-layer=1",
                                   "--flow=points", "--guides-origin=top", "--guides-first=1001"});
    EXPECT_EQ(options.guidesLayers, (std::vector<int>{1, 1}));
    EXPECT_TRUE(FollowsPointsAlone(options, 1));
    EXPECT_FALSE(FollowsPointsAlone(options, 0));
    EXPECT_EQ(options.guidesOrigin, 1);
    EXPECT_EQ(options.guidesFirst, 1001);
    EXPECT_FALSE(FollowsPointsAlone(Parse({"--guides=a"}), 0));
}

TEST(MotionOptions, VectorsAreScaledByCodeAxisSignAndDirection) {
    struct Case {
        Words words;
        VectorScale scale;
    };
    for (const Case& c : {Case{{}, {1, 1, 1}},
                          {{"--vector-scale=20"}, {20, 1, 1}},
                          {{"--vector-scale=20", "--vector-scale-xy=2,-0.5"}, {20, 2, -0.5f}},
                          {{"--vector-sign=from", "--vector-y=down"}, {1, -1, 1}},
                          {{"--vector-y=down"}, {1, 1, -1}},
                          {{"--vectors-format=pixels", "--vector-scale=3"}, {1, 3, 3}}}) {
        Words words = c.words;
        words.push_back("--backward-vectors=flow.%d.exr");
        const VectorScale scale = ScaleOfVectors(Parse(words));
        EXPECT_EQ(scale.code, c.scale.code);
        EXPECT_EQ(scale.x, c.scale.x);
        EXPECT_EQ(scale.y, c.scale.y);
    }
}

TEST(MotionOptions, ChannelsAreThoseOfEachClip) {
    using Channels = std::optional<std::pair<std::string, std::string>>;
    const Channels ab = std::pair("a", "b"), cd = std::pair("c", "d");
    Words words{"--vectors-format=pixels", "--forward-vectors=f", "--backward-vectors=g"};
    EXPECT_EQ(Parse(words).vectors.channels, (std::vector<Channels>{{}, {}}));
    words.push_back("--vector-channels=a,b");
    EXPECT_EQ(Parse(words).vectors.channels, (std::vector{ab, ab}));
    words.push_back("--vector-channels=c,d");
    EXPECT_EQ(Parse(words).vectors.channels, (std::vector{ab, cd}));
}

TEST(MotionOptions, RefuseWhatDoesNotGoTogether) {
    const std::pair<Words, std::string> cases[] = {
        {{"--flow", "points"}, "--flow needs --guides"},
        {{"--guides-layer", "0"}, "--guides-layer needs --guides"},
        {{"--guides-origin", "top"}, "--guides-origin needs --guides"},
        {{"--guides-first", "1"}, "--guides-first needs --guides"},
        {{"--guides", "a", "--guides-layer", "1"}, "--guides-layer 1: give 0, as there is one"},
        {{"--matte=m", "--guides=a", "--guides-layer=2"}, "--guides-layer 2: give a number from 0"},
        {{"--guides=a", "--guides=b", "--flow=points", "--flow=estimate"}, "--flow: all --guides"},
        {{"--guides=a", "--quality=none"}, "--guides needs motion"},
        {{"--guides=a", "--forward-vectors=f"}, "--guides and --forward-vectors: give one"},
        {{"--motion-from=a", "--backward-vectors=f"}, "--motion-from and --backward-vectors: give"},
        {{"--quality=none", "--forward-vectors=f"}, "--quality none and --forward-vectors: give"},
        {{"--vector-scale", "2"}, "--vector-scale needs --forward-vectors or --backward-vectors"},
        {{"--forward-vectors=f", "--vector-channels=a,b"},
         "--vector-channels needs --vectors-format"},
        {{"--forward-vectors=f", "--vector-scale-xy=2"}, "--vector-scale-xy 2: give a factor"},
        {{"--forward-vectors=f", "--vector-channels=a,b,c"}, "--vector-channels a,b,c: give the"},
        {{"--forward-vectors=f", "--vector-channels=a,a"}, "--vector-channels a,a: give the names"},
        {{"--vector-channels=a,b"}, "--vector-channels needs --forward-vectors or"},
        {{"--forward-vectors=f", "--vector-channels=a,b", "--vector-channels=c,d"},
         "--vector-channels is given 2 times for 1 vector clip"},
        {{"--forward-vectors=f", "--vector-scale", "-2"},
         "--vector-scale -2: give a number from 0 on; --vector-sign from"}};
    for (const auto& [words, text] : cases) {
        try {
            Parse(words);
            ADD_FAILURE() << "accepted, not: " << text;
        } catch (const UsageError& failure) {
            EXPECT_EQ(std::string(failure.what()).substr(0, text.size()), text);
        }
    }
}

}  // namespace
}  // namespace velorin
