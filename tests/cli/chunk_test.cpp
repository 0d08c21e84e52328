#include "cli/chunk.h"

#include <gtest/gtest.h>

#include <numeric>

namespace velorin {
namespace {

constexpr FrameCosts kCosts{1, 1, 10};

std::vector<std::int64_t> FirstFrames(std::int64_t count) {
    std::vector<std::int64_t> frames(static_cast<std::size_t>(count));
    std::iota(frames.begin(), frames.end(), std::int64_t{0});
    return frames;
}

std::int64_t PairOf(const TimeLaw& law, std::int64_t frame) {
    return ForecastOf(law, frame, {}).front().pair;
}

TEST(Chunk, IsReadFromItsNumberOn) {
    EXPECT_EQ(ParseChunk("2/8")->number, 2);
    EXPECT_EQ(ParseChunk("8/8")->of, 8);
    for (const char* text : {"", "1", "/", "1/", "0/2", "3/2", "-1/2", "1/2/3", "1/2 ", "a/b",
                             "1/1000001", "99999999999999999999/99999999999999999999"}) {
        EXPECT_FALSE(ParseChunk(text)) << text;
    }
}

TEST(Chunk, ChunksHoldEveryFrameOnceInOrderAndBeginWithAPair) {
    for (const char* speed : {"0.3", "0.01", "1", "2.7", "0"}) {
        const auto law = ConstantSpeed(AsRational(ParseDecimal(speed).value()));
        for (const int outputFields : {0, 1}) {
            RequestSettings request;
            request.inputFields = request.outputFields = outputFields;
            request.usesVectors = true;
            const auto frames = FirstFrames(101);
            for (std::int64_t of = 1; of <= 12; ++of) {
                std::vector<std::int64_t> joined;
                for (std::int64_t number = 1; number <= of; ++number) {
                    const auto part = FramesOfChunk(frames, {number, of}, *law, request, kCosts);
                    if (outputFields == 0 && !part.empty() && part[0] > 0) {
                        EXPECT_NE(PairOf(*law, part[0]), PairOf(*law, part[0] - 1)) << speed;
                    }
                    joined.insert(joined.end(), part.begin(), part.end());
                }
                EXPECT_EQ(joined, frames) << speed << " of " << of;
            }
        }
    }
}

// At speed 0.25 a pair's frames cost 1 + 3 * 2 + 10. The first half of the clip holds still frames
// alone where the law is made of two.
TEST(Chunk, CostsAreEvenAndNotTheCounts) {
    class HalfStill final : public TimeLaw {
      public:
        SourceTime At(std::int64_t frame, int halves) const override {
            const std::int64_t moved = 2 * frame + halves - 400;
            return moved < 0 ? SourceTime{frame, 0, 1} : SourceTime{200 + moved / 8, moved % 8, 8};
        }
        std::optional<std::int64_t> Length(std::int64_t) const override { return 400; }
    };
    const HalfStill law;
    RequestSettings request;
    request.usesVectors = true;
    const auto first = FramesOfChunk(FirstFrames(400), {1, 2}, law, request, kCosts);
    const auto second = FramesOfChunk(FirstFrames(400), {2, 2}, law, request, kCosts);
    // 200 still frames and 50 pairs: 200 + 850 is split after 19 or 20 pairs.
    EXPECT_GE(first.size(), 200u + 4 * 18);
    EXPECT_LE(first.size(), 200u + 4 * 20);
    EXPECT_EQ(first.size() + second.size(), 400u);
    // Without motion a moved frame costs 2: 200 + 50 * (1 + 3 * 2) is split after 10 or 11 groups.
    const auto plain = FramesOfChunk(FirstFrames(400), {1, 2}, law, {}, kCosts);
    EXPECT_GE(plain.size(), 200u + 4 * 10);
    EXPECT_LE(plain.size(), 200u + 4 * 12);
}

}  // namespace
}  // namespace velorin
