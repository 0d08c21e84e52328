#include "cli/progress_line.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

TEST(ProgressLine, TellsSpeedAndTimeLeft) {
    const ProgressState state{10, 40, 0.0, 5.0};
    EXPECT_EQ(PlainText(state), "10 of 40 frames, 2.00 frames a second, 0:15 left");
    EXPECT_EQ(JsonText(state, 109),
              "{\"event\":\"frame\",\"frame\":109,\"done\":10,\"total\":40,\"seconds\":5.000,"
              "\"framesPerSecond\":2.000,\"secondsLeft\":15.0}");
    EXPECT_EQ(PlainText({0, 40, 0.0, 0.0}), "0 of 40 frames, 0.00 frames a second, -:-- left");
    EXPECT_EQ(PlainText({1, 7201, 0.0, 1.0}),
              "1 of 7201 frames, 1.00 frames a second, 2:00:00 left");
    EXPECT_EQ(JsonString("a\"b\\c\n"), "\"a\\\"b\\\\c\\n\"");
    EXPECT_EQ(JsonString("caf\xe9 \xc3\xa9"), "\"caf\xef\xbf\xbd \xc3\xa9\"");
}

TEST(ProgressLine, BarFitsTheTerminal) {
    for (int columns = 1; columns <= 120; ++columns) {
        for (const ProgressState& state :
             {ProgressState{0, 8, 0.0, 0.0}, {3, 8, 0.5, 2.0}, {8, 8, 0.0, 9.0}}) {
            EXPECT_LE(BarText(state, columns).size(), static_cast<std::size_t>(columns));
        }
    }
    EXPECT_EQ(BarText({3, 8, 0.5, 7.0}, 41), "[###-----] 3/8  0.50 frames/s  0:09 left");
}

}  // namespace
}  // namespace velorin
