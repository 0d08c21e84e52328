#include "cli/frame_list.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

using Frames = std::vector<std::int64_t>;

TEST(FrameList, ChoosesEachFrameOnceInOrder) {
    const auto chosen = [](const char* text, std::int64_t length) {
        return ChosenFrames(ParseFrames(text).value(), length);
    };
    EXPECT_EQ(chosen("7", 10), Frames({7}));
    EXPECT_EQ(chosen("7-9", 10), Frames({7, 8, 9}));
    EXPECT_EQ(chosen("7-", 9), Frames({7, 8}));
    EXPECT_EQ(chosen("1-8x3", 10), Frames({1, 4, 7}));
    EXPECT_EQ(chosen("6-x2", 10), Frames({6, 8}));
    EXPECT_EQ(chosen("5, 0-2 ,1-5x2", 10), Frames({0, 1, 2, 3, 5}));
    EXPECT_EQ(chosen("2-9223372036854775807x9223372036854775807", 10), Frames({2}));
    EXPECT_EQ(chosen("10-20,10-", 10), Frames());
}

TEST(FrameList, TellsWhatLiesPastTheEnd) {
    const auto past = [](const char* text) { return ReachesPast(ParseFrames(text).value(), 10); };
    EXPECT_FALSE(past("0-9"));
    EXPECT_FALSE(past("3-"));
    EXPECT_TRUE(past("1,5-10"));
    EXPECT_TRUE(past("10-"));
}

TEST(FrameList, RefusesWhatIsNoList) {
    for (const char* text : {"", "a", "-3", "9-7", "1-3x0", "1-3x", "1x2", "1,", ",1", "1--3",
                             "1-3-5", "1 2", "99999999999999999999"}) {
        EXPECT_FALSE(ParseFrames(text)) << text;
    }
}

}  // namespace
}  // namespace velorin
