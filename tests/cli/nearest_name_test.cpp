#include "cli/nearest_name.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

TEST(NearestName, IsOneThatNeedsFewEdits) {
    const std::vector<std::string_view> names = {"speed", "quality", "output-fields", "warp",
                                                 "input-fields"};
    EXPECT_EQ(NearestName("sped", names), "speed");
    EXPECT_EQ(NearestName("spede", names), "speed");
    EXPECT_EQ(NearestName("qualitty", names), "quality");
    EXPECT_EQ(NearestName("output_fields", names), "output-fields");
    EXPECT_EQ(NearestName("wrap", names), "warp");
    EXPECT_EQ(NearestName("interpolation", names), "");
    EXPECT_EQ(NearestName("x", names), "");
    EXPECT_EQ(NearestName("", names), "");
    EXPECT_EQ(NearestName(std::string(61, 's'), names), "");
}

}  // namespace
}  // namespace velorin
