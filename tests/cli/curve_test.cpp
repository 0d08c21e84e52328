#include "cli/curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "cli/curve_text.h"
#include "cli/key_list.h"
#include "media/clips.h"
#include "support/noise.h"

namespace velorin {
namespace {

SpeedCurve Speeds(const char* text) {
    return SpeedCurve(ParseCurve(text, CurveKind::kSpeed));
}
Curve Frames(const char* text) {
    return ParseCurve(text, CurveKind::kSourceFrame);
}

void ExpectExactly(const SourceTime& time, std::int64_t numerator, std::int64_t denominator) {
    const SourceTime wanted = PlaceAt(numerator, denominator);
    EXPECT_FALSE(time.IsBefore(wanted) || wanted.IsBefore(time))
        << TimeText(time, 9) << " is not " << numerator << "/" << denominator;
}

double AsDouble(const SourceTime& time) {
    return static_cast<double>(time.frame) +
           static_cast<double>(time.numerator) / static_cast<double>(time.denominator);
}

TEST(Curve, StraightWaysHoldsAndEndsAreExact) {
    const Curve curve = Frames("2:0,5:1,7:-0.3|,9:4");
    struct Case {
        std::int64_t frame;
        int halves;
        std::int64_t numerator, denominator;
    };
    for (const Case& c : {Case{0, 0, 0, 1},
                          {3, 0, 1, 3},
                          {4, 1, 5, 6},
                          {4, 2, 1, 1},
                          {6, 0, 7, 20},
                          {8, 1, -3, 10},
                          {8, 2, 4, 1},
                          {2147483647, 1, 4, 1}}) {
        SCOPED_TRACE(c.frame);
        ExpectExactly(curve.At(c.frame, c.halves), c.numerator, c.denominator);
    }
    ExpectExactly(Frames("5:-0.000000001").At(0, 0), -1, 1000000000);
    const Curve wide = Frames("0:999999999~,5:-999999999.999999999~,2147483646:0.1");
    ExpectExactly(wide.At(4, 2), -999999999999999999, 1000000000);
    ExpectExactly(wide.At(2147483646, 0), 1, 10);
}

// The tangents and the cubic as the books have them, apart from how the curve computes them.
double PlainSmooth(const std::vector<CurveKey>& keys, double place) {
    const std::size_t n = keys.size();
    const auto value = [&](std::size_t i) {
        return AsDouble(PlaceAt(keys[i].value.numerator, keys[i].value.denominator));
    };
    const auto slope = [&](std::size_t i) {
        return (value(i + 1) - value(i)) / static_cast<double>(keys[i + 1].frame - keys[i].frame);
    };
    std::vector<double> m(n);
    m[0] = slope(0);
    m[n - 1] = slope(n - 2);
    for (std::size_t i = 1; i + 1 < n; ++i) {
        const bool turns = slope(i - 1) * slope(i) <= 0.0;
        m[i] = turns ? 0.0 : (slope(i - 1) + slope(i)) / 2.0;
    }
    for (std::size_t i = 0; i + 1 < n; ++i) {
        const double d = slope(i);
        const double squares = (m[i] * m[i] + m[i + 1] * m[i + 1]) / (d * d);
        if (d == 0.0 || squares <= 9.0) continue;
        m[i] *= 3.0 / std::sqrt(squares);
        m[i + 1] *= 3.0 / std::sqrt(squares);
    }
    std::size_t i = 0;
    while (i + 2 < n && place >= static_cast<double>(keys[i + 1].frame)) ++i;
    const double h = static_cast<double>(keys[i + 1].frame - keys[i].frame);
    const double t = (place - static_cast<double>(keys[i].frame)) / h;
    return value(i) * (1 + 2 * t) * (1 - t) * (1 - t) + value(i + 1) * t * t * (3 - 2 * t) +
           m[i] * h * t * (1 - t) * (1 - t) - m[i + 1] * h * t * t * (1 - t);
}

TEST(Curve, SmoothIsTheMonotoneCubic) {
    Noise noise(5);
    for (int round = 0; round < 50; ++round) {
        std::vector<CurveKey> keys;
        for (std::int64_t frame = 0; keys.size() < 6; frame += 1 + noise.Bits() % 40) {
            keys.push_back(
                {frame, {static_cast<std::int64_t>(noise.Bits() % 10000), 1000}, KeyWay::kSmooth});
        }
        const SpeedCurve curve{Curve(keys)};
        double sum = 0.0;
        for (std::int64_t frame = 0; frame < keys.back().frame; ++frame) {
            EXPECT_NEAR(AsDouble(curve.Sum(frame, 0)), sum, 1e-9);
            for (const int halves : {0, 1}) {
                const double place = static_cast<double>(frame) + halves / 2.0;
                EXPECT_NEAR(AsDouble(curve.At(frame, halves)), PlainSmooth(keys, place), 1e-10);
            }
            sum += AsDouble(curve.At(frame, 0));
        }
        for (const CurveKey& key : keys) {
            ExpectExactly(curve.At(key.frame, 0), key.value.numerator, key.value.denominator);
        }
    }
}

TEST(Curve, SumsRectanglesWithoutLosingAnything) {
    // 1, 3/4, 1/2, 1/4, 0, 0 ...
    const SpeedCurve ramp = Speeds("0:1,4:0");
    ExpectExactly(ramp.Sum(0, 0), 0, 1);
    ExpectExactly(ramp.Sum(2, 1), 2, 1);
    ExpectExactly(ramp.Sum(3, 0), 9, 4);
    ExpectExactly(ramp.Sum(2000000000, 1), 5, 2);
    // Steps of a third, which no decimal holds, from a first key that holds before itself too.
    const SpeedCurve thirds = Speeds("2:1,5:2|,9:0.1");
    ExpectExactly(thirds.Sum(2, 1), 5, 2);
    ExpectExactly(thirds.Sum(4, 1), 31, 6);
    ExpectExactly(thirds.Sum(8, 0), 12, 1);
    ExpectExactly(thirds.Sum(11, 0), 142, 10);
    // Smooth ways that are straight are none the worse for it.
    for (const char* text : {"0:0.999", "0:0.999~,7:0.999~,60000:0.999"}) {
        ExpectExactly(Speeds(text).Sum(100100, 0), 999999, 10);
    }
    ExpectExactly(Speeds("0:0~,30:1~,60:2").Sum(60, 0), 59, 1);
    ExpectExactly(Speeds("0:0~,30:1~,90:3").Sum(7, 1), 49, 60);
    // The longest there is.
    EXPECT_NEAR(AsDouble(Speeds("0:0~,2147483646:9.999999999").Sum(2147483646, 0)),
                2147483645.0 * 9.999999999 / 2.0, 1e-3);
}

TEST(Curve, EndsWithTheClipOrWithTheLastKey) {
    struct Case {
        const char* text;
        std::int64_t clip;
        std::int64_t length;  // -1: never
    };
    for (const Case& c : {Case{"0:0.5", 10, 19},
                          {"0:0.5,10:0.5", 10, 19},
                          {"0:1,4:0", 3, 3},
                          {"0:1,4:0", 4, -1},
                          {"0:0,9:0", 1, -1},
                          {"0:0|,100:2", 10, 105},
                          {"0:0.000000001", 3, 2000000001},
                          {"0:1~,30:1~,60:1", 61, 61}}) {
        EXPECT_EQ(SpeedCurveLaw(Speeds(c.text))->Length(c.clip).value_or(-1), c.length) << c.text;
    }
    EXPECT_EQ(FrameCurveLaw(Frames("3:5,40:0"))->Length(10), 41);
}

std::string Fault(const char* text, CurveKind kind) {
    try {
        ParseCurve(text, kind);
    } catch (const KeyError& error) {
        return error.key + "/" + error.what();
    }
    return "accepted";
}

TEST(ParseCurve, NamesTheKeyThatIsWrong) {
    struct Case {
        const char* text;
        const char* fault;
        bool isSpeed = true;
    };
    for (const Case& c : {Case{"", "/give keys such as"},
                          {"0", "0/give keys such as"},
                          {"0:1,", "/give keys such as"},
                          {"0:1,5:", "5:/give a speed from 0 to 10"},
                          {"0:1,5:10.1~", "5:10.1~/give a speed"},
                          {"0:-0.1", "0:-0.1/give a speed"},
                          {"0:-0.1", "accepted", false},
                          {"0:1e3", "0:1e3/give a source frame", false},
                          {"0:1~~", "0:1~~/give a source frame", false},
                          {"-1:1", "-1:1/give a whole frame number from 0"},
                          {"1.5:1", "1.5:1/give a whole"},
                          {"2147483647:1", "2147483647:1/give a whole"},
                          {"2147483646:1|", "accepted"},
                          {"0:1,9:1,5:1", "5:1/comes after 9:1"},
                          {"0:1,9:1,9:2", "9:2/frame 9 has a key already, 9:1"}}) {
        const std::string fault =
            Fault(c.text, c.isSpeed ? CurveKind::kSpeed : CurveKind::kSourceFrame);
        EXPECT_EQ(fault.substr(0, std::string(c.fault).size()), c.fault) << c.text;
    }
}

TEST(ReadCurveFile, TakesTablesOfOtherPrograms) {
    const TemporaryFolder folder;
    const auto write = [&](const std::string& content) {
        std::ofstream(folder / "curve.txt", std::ios::binary) << content;
        return folder / "curve.txt";
    };
    const Curve curve =
        ReadCurveFile(write("\xef\xbb\xbf"
                            "output,source\r\n# slow\r\n0,1e1\r\n\r\n"
                            "4.0, 12.50000000012~ # there\r\n6,13|\r\n"));
    ASSERT_EQ(curve.Keys().size(), 3u);
    ExpectExactly(curve.At(0, 0), 10, 1);
    ExpectExactly(curve.At(4, 0), 125, 10);
    EXPECT_EQ(curve.Keys()[1].way, KeyWay::kSmooth);
    EXPECT_EQ(curve.Keys()[2].way, KeyWay::kHold);
    for (const auto& [content, fault] :
         {std::pair{"0 1\n1 2\n1 3\n", "line 3, \"1 3\": frame 1 has a key already, 1 2"},
          {"0 1\n2 x\n", "line 2, \"2 x\": give a source frame"},
          {"0 1\n0.5 1\n", "line 2, \"0.5 1\": give a whole frame number"},
          {"0 1 2\n", "line 1, \"0 1 2\": two columns"},
          {"# nothing\n", "holds no curve"}}) {
        try {
            ReadCurveFile(write(content));
            ADD_FAILURE() << "accepted: " << content;
        } catch (const MediaError& error) {
            EXPECT_NE(std::string(error.what()).find(fault), std::string::npos) << error.what();
        }
    }
}

}  // namespace
}  // namespace velorin
