#include "cli/uneven_times.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "cli/time_options.h"
#include "media/picture_times.h"

namespace velorin {
namespace {

ClipInfo ClipAt(std::vector<std::int64_t> ticks, Rational tick, Rational rate) {
    ClipInfo clip;
    clip.frames = std::ssize(ticks);
    clip.rate = rate;
    clip.times = std::make_shared<PictureTimes>(PictureTimes{std::move(ticks), tick});
    return clip;
}

void ExpectPlaces(const TimeLaw& law, const std::vector<Decimal>& places) {
    for (std::size_t n = 0; n < places.size(); ++n) {
        const SourceTime time = law.At(static_cast<std::int64_t>(n), 0);
        EXPECT_EQ(Int128{time.frame} * time.denominator + time.numerator ==
                      Int128{places[n].numerator} * time.denominator / places[n].denominator,
                  true)
            << "frame " << n << " at " << TimeText(time, 9);
        EXPECT_EQ(Int128{places[n].numerator} * time.denominator % places[n].denominator == 0,
                  true);
    }
}

// Frames of 100 milliseconds; pictures are 100, 200, 50 and 50 of them apart, from 7 seconds on.
const ClipInfo kClip = ClipAt({7000, 7100, 7300, 7350, 7400}, {1, 1000}, {10, 1});

TEST(UnevenTimes, LawsOfTimeLeadAlongPictures) {
    const auto slow = AlongPictures(ConstantSpeed({1, 2}), kClip);
    ExpectPlaces(*slow, {{0, 1},
                         {1, 2},
                         {1, 1},
                         {5, 4},
                         {3, 2},
                         {7, 4},
                         {2, 1},
                         {3, 1},
                         {4, 1},
                         // beyond the last picture by half frames
                         {9, 2},
                         {5, 1}});
    EXPECT_EQ(slow->Length(kClip.frames), 9);
    const auto third = AlongPictures(ConstantSpeed({1, 3}), kClip);
    ExpectPlaces(*third, {{0, 1}, {1, 3}, {2, 3}, {1, 1}, {7, 6}, {4, 3}});
    EXPECT_EQ(third->Length(kClip.frames), 13);
    // Halves of an output frame, as fields have them.
    EXPECT_EQ(TimeText(slow->At(2, 1), 6), "1.125000");
}

TEST(UnevenTimes, OutputEndsWithTheLastPicture) {
    // Its time lies between even frames: 2.5 of them.
    const ClipInfo clip = ClipAt({0, 30, 250}, {1, 1000}, {10, 1});
    EXPECT_EQ(EvenTimeOfLast(clip).numerator * 2, EvenTimeOfLast(clip).denominator * 5);
    EXPECT_EQ(AlongPictures(ConstantSpeed({1, 1}), clip)->Length(3), 3);
    EXPECT_EQ(AlongPictures(ConstantSpeed({1, 2}), clip)->Length(3), 6);
    EXPECT_EQ(AlongPictures(ConstantSpeed({1, 10000}), clip)->Length(3), 25001);
    EXPECT_EQ(AlongPictures(ConstantSpeed({0, 1}), clip)->Length(3), std::nullopt);
}

TEST(UnevenTimes, LongFractionsComeOutWithinAFloat) {
    // Nanoseconds, and a speed with a long denominator.
    const ClipInfo clip =
        ClipAt({0, 41708333, 41708340, 250000001}, {1, 1000000000}, {24000, 1001});
    const auto law = AlongPictures(ConstantSpeed({999999937, 1000000000}), clip);
    EXPECT_EQ(law->Length(4), 6);
    double last = -1.0;
    for (int n = 0; n < 6; ++n) {
        const double time = static_cast<double>(law->At(n, 0).After(0));
        EXPECT_GT(time, last);
        last = time;
    }
    EXPECT_NEAR(last, 2.0 + (5 * 0.999999937 * 1001e9 / 24000 - 41708340) / 208291661.0, 1e-6);
}

TEST(UnevenTimes, OptionsChooseBetweenTimeAndPictures) {
    Options options;
    const auto times = [&] {
        std::string text;
        const ChosenLaw chosen = ChooseLaw(options, kClip);
        for (int n = 0; n < 4; ++n) text += TimeText(chosen.law->At(n, 0), 3) + " ";
        return text;
    };
    EXPECT_EQ(times(), "0.000 1.000 1.500 2.000 ");
    // Without a constant speed in pictures.
    EXPECT_FALSE(ChooseLaw(options, kClip).facts.speed);
    options.frameCurve = Curve({{0, {0, 1}}, {4, {4, 1}}});
    EXPECT_EQ(times(), "0.000 1.000 2.000 3.000 ");
    options.frameCurve.reset();
    options.fitLength = 3;
    EXPECT_EQ(times(), "0.000 1.500 4.000 6.000 ");
    options.fitLength.reset();
    options.fitRate = Rational{20, 1};
    EXPECT_EQ(times(), "0.000 0.500 1.000 1.250 ");
    EXPECT_EQ(ChooseLaw(options, kClip).facts.rate.numerator, 20);
}

struct RateCase {
    const char* name;
    std::vector<std::int64_t> ticks;
    Rational tick;
    Rational told;
    bool uneven;
    Rational rate;  // where uneven
};

std::vector<std::int64_t> Rounded(int pictures, double step, int leftOut) {
    std::vector<std::int64_t> ticks;
    for (int i = 0; i < pictures; ++i) {
        if (i == 0 || i % leftOut != 0) ticks.push_back(std::llround(i * step));
    }
    return ticks;
}

TEST(PictureTimes, AreToldFromRoundedOnes) {
    constexpr int kNone = 1000000;
    const double ntsc = 1001.0 / 24.0;
    std::vector<std::int64_t> finer = Rounded(500, ntsc, kNone);
    for (std::int64_t& time : finer) time *= 16;
    const RateCase cases[] = {
        {"milliseconds", Rounded(500, ntsc, kNone), {1, 1000}, {24, 1}, false, {}},
        {"milliseconds in finer ticks", finer, {1, 16000}, {24, 1}, false, {}},
        {"ticks of frames", Rounded(100, 1.0, kNone), {1, 24}, {24, 1}, false, {}},
        {"milliseconds with gaps", Rounded(500, ntsc, 7), {1, 1000}, {20, 1}, true, {24000, 1001}},
        {"30 a second with gaps", Rounded(500, 3000, 3), {1, 90000}, {20, 1}, true, {30, 1}},
        {"ticks of frames with gaps", Rounded(500, 1.0, 5), {1, 60}, {48, 1}, true, {60, 1}},
        {"its own average", Rounded(500, 100000 / 17.0, 9), {1, 100000}, {17, 1}, true, {17, 1}},
        {"no usual rate", Rounded(500, 5000, 9), {1, 100000}, {17, 1}, true, {20, 1}},
    };
    for (const RateCase& c : cases) {
        EXPECT_EQ(AreUneven(c.ticks, c.tick), c.uneven) << c.name;
        if (!c.uneven) continue;
        const Rational rate = NominalRate(c.ticks, c.tick, c.told);
        EXPECT_EQ(rate.numerator, c.rate.numerator) << c.name;
        EXPECT_EQ(rate.denominator, c.rate.denominator) << c.name;
    }
}

TEST(PictureTimes, RatesThatContainersRoundAreTakenBack) {
    const Rational cases[][2] = {{{19001, 317}, {60000, 1001}},
                                 {{30, 1}, {30, 1}},
                                 {{48, 2}, {24, 1}},
                                 {{2997, 125}, {2997, 125}},
                                 {{17, 1}, {17, 1}}};
    for (const auto& [told, rate] : cases) {
        EXPECT_EQ(Unrounded(told).numerator, rate.numerator) << told.numerator;
        EXPECT_EQ(Unrounded(told).denominator, rate.denominator) << told.numerator;
    }
}

}  // namespace
}  // namespace velorin
