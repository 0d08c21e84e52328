#include "cli/time_law.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

std::unique_ptr<TimeLaw> Speed(const char* text) {
    return ConstantSpeed(AsRational(ParseDecimal(text).value()));
}

void ExpectPlace(const SourceTime& time, std::int64_t frame, std::int64_t millionths) {
    EXPECT_EQ(time.frame, frame);
    EXPECT_EQ(time.numerator * 1000000, millionths * time.denominator);
}

TEST(ParseDecimal, HoldsWhatIsWrittenAndRefusesTheRest) {
    const auto expect = [](const char* text, std::int64_t numerator, std::int64_t denominator) {
        const Decimal value = ParseDecimal(text).value();
        EXPECT_EQ(value.numerator, numerator) << text;
        EXPECT_EQ(value.denominator, denominator) << text;
    };
    expect("0.999", 999, 1000);
    expect("-.5", -5, 10);
    expect("+7.", 7, 1);
    expect("999999999.999999999", 999999999999999999, 1000000000);
    for (const char* text : {"", ".", "-", "+-1", "1e3", "0x1", "nan", "inf", "1.2.3", "1,5", " 1",
                             "1000000000", "0.1234567891"}) {
        EXPECT_FALSE(ParseDecimal(text)) << text;
    }
}

TEST(DecimalText, IsWhatWasWritten) {
    for (const char* text : {"0", "12.5", "-0.05", "999999999.999999999", "0.000000001"}) {
        EXPECT_EQ(DecimalText(ParseDecimal(text).value()), text);
    }
    EXPECT_EQ(DecimalText(ParseDecimal("+07.500").value()), "7.5");
    for (const char* text : {"0", "250", "65534.25", "-0.1", "0.015625"}) {
        EXPECT_EQ(NumberText(AsFloat(ParseDecimal(text).value())), text);
    }
    EXPECT_EQ(NumberText(0x1.fffffep-8f), "0.007812499");  // cut where options take no more
}

TEST(SourceTime, RoundsOnce) {
    const auto after = [](std::int64_t frame, Int128 numerator, Int128 denominator) {
        return SourceTime{frame, static_cast<std::int64_t>(numerator),
                          static_cast<std::int64_t>(denominator)}
            .After(0);
    };
    const Int128 one = 1;
    // Just off the middle between two floats, by less than a double can tell.
    EXPECT_EQ(after(1, (one << 36) + 1, one << 60), 0x1.000002p0f);
    EXPECT_EQ(after(1, (one << 36) - 1, one << 60), 1.0f);
    EXPECT_EQ(after(1, one << 36, one << 60), 1.0f);  // a tie goes to the even one
    EXPECT_EQ(after(-2, (one << 60) - (one << 36) - 1, one << 60), -0x1.000002p0f);
    EXPECT_EQ(after(0, 1, 1000000000), 1e-9f);
    EXPECT_EQ(after(0, 0, 7), 0.0f);
    EXPECT_EQ((SourceTime{-1, 3, 4}.Base()), -4096);
    EXPECT_EQ((SourceTime{-1, 3, 4}.After(-4096)), 4095.75f);
    EXPECT_EQ(TimeText({-1, 3, 4}, 6), "-0.250000");
    EXPECT_EQ(TimeText({99, 9999999, 10000000}, 6), "100.000000");
    EXPECT_EQ(TimeText({-1, 9999999, 10000000}, 6), "0.000000");
}

TEST(FixedTime, HoldsForEveryFrame) {
    const auto law = FixedTime(ParseDecimal("4100.125").value());
    ExpectPlace(law->At(0, 0), 4100, 125000);
    ExpectPlace(law->At(7, 1), 4100, 125000);
    EXPECT_EQ(law->At(0, 0).After(4096), 4.125f);
}

TEST(SnappedLaws, ShowTheNearerFrameOrTheMiddleOfThePair) {
    const auto nearest = NearestFrames(Speed("0.25"));
    const auto middle = MiddlesOfPairs(Speed("0.25"));
    ExpectPlace(nearest->At(2, 0), 0, 0);  // a tie
    ExpectPlace(nearest->At(3, 0), 1, 0);
    ExpectPlace(nearest->At(2, 1), 1, 0);
    ExpectPlace(middle->At(3, 0), 0, 500000);
    ExpectPlace(middle->At(4, 0), 1, 500000);
    EXPECT_EQ(middle->Length(10), 37);
    const auto middleOfFields = MiddlesOfPairs(Speed("0.25"), 2);
    ExpectPlace(middleOfFields->At(1, 0), 0, 250000);
    ExpectPlace(middleOfFields->At(2, 0), 0, 750000);
}

TEST(ConstantSpeed, PlacesFramesWhereArithmeticSays) {
    ExpectPlace(Speed("0.999")->At(100100, 0), 99999, 900000);
    ExpectPlace(Speed("2.5")->At(3, 0), 7, 500000);
    ExpectPlace(Speed("2.5")->At(3, 1), 8, 750000);
    ExpectPlace(Speed("0.5")->At(3, 2), 2, 0);
    const auto tenth = Speed("0.1");
    for (const std::int64_t n : {1, 7, 99, 40960, 1000000, 2147483647}) {
        ExpectPlace(tenth->At(n, 0), n / 10, n % 10 * 100000);
    }
    // The longest products there are still fit.
    const SourceTime last = Speed("9.999999999")->At(2147483647, 1);
    EXPECT_EQ(last.frame, 21474836472);
    EXPECT_EQ(last.denominator, 2000000000);
    EXPECT_EQ(last.numerator, 1705032705);
}

TEST(ConstantSpeed, EndsWithTheLastFrameOfTheClip) {
    EXPECT_EQ(Speed("0.5")->Length(10), 19);
    EXPECT_EQ(Speed("2.5")->Length(10), 4);
    EXPECT_EQ(Speed("1")->Length(1), 1);
    EXPECT_EQ(Speed("0.3")->Length(4), 11);
    EXPECT_EQ(Speed("0.000000001")->Length(2147483647), 2147483646000000001);
    EXPECT_EQ(Speed("0")->Length(10), std::nullopt);
}

TEST(SourceTime, ReachesTheEngineRoundedOnce) {
    EXPECT_EQ(Speed("0.1")->At(3, 0).After(0), 0.3f);
    EXPECT_EQ(Speed("0.000000001")->At(1, 1).After(0), 1.5e-9f);
    const SourceTime zero = Speed("1")->At(0, 0);
    EXPECT_EQ(zero.After(zero.Base()), 0.0f);

    // As near above the middle of two floats as a decimal gets; the lower of the two is even, so
    // that two roundings in single precision would end there.
    constexpr std::int64_t kDenominator = 1000000000, kTwiceMiddle = (1 << 25) - 7;
    constexpr std::int64_t kParts = (kTwiceMiddle * 1953125 + 3) / 16;
    const SourceTime beyond{kParts / kDenominator, kParts % kDenominator, kDenominator};
    EXPECT_EQ(beyond.After(0), 0x1.fffffap+11f);
}

TEST(SourceTime, IsAsFineFarInTheClipAsAtItsStart) {
    const auto law = Speed("0.75");
    for (const std::int64_t n : {5461, 5462, 1000000, 100000001}) {
        const SourceTime time = law->At(n, 0);
        const std::int64_t base = time.Base();
        EXPECT_EQ(base % 4096, 0);
        EXPECT_LE(base, time.frame);
        EXPECT_LT(time.frame, base + 4096);
        EXPECT_EQ(time.After(base), static_cast<float>(n * 3 - base * 4) / 4.0f);
        // The following frame is told from the same base, also beyond the next multiple.
        EXPECT_EQ(law->At(n, 2).After(base), time.After(base) + 0.75f);
    }
    EXPECT_EQ(law->At(5461, 0).Base(), 0);
    EXPECT_EQ(law->At(5462, 0).Base(), 4096);
}

}  // namespace
}  // namespace velorin
