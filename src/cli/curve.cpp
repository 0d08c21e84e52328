#include "cli/curve.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velorin {

namespace {

constexpr double kCircle = 3.0;
// Bends are rounded to parts of one frame that are no coarser.
constexpr std::int64_t kBendParts = std::int64_t{1} << 40;

// The tangents of Fritsch and Carlson at all keys; `slopes` are those between them.
std::vector<double> Tangents(const std::vector<double>& slopes) {
    std::vector<double> tangents(slopes.size() + 1);
    tangents.front() = slopes.front();
    tangents.back() = slopes.back();
    for (std::size_t i = 1; i < slopes.size(); ++i) {
        const bool turns = !(slopes[i - 1] * slopes[i] > 0.0);
        tangents[i] = turns ? 0.0 : (slopes[i - 1] + slopes[i]) / 2.0;
    }
    for (std::size_t i = 0; i < slopes.size(); ++i) {
        if (slopes[i] == 0.0) continue;  // both tangents are 0
        const double a = tangents[i] / slopes[i];
        const double b = tangents[i + 1] / slopes[i];
        const double length = std::sqrt(a * a + b * b);
        if (!(length > kCircle)) continue;
        tangents[i] = kCircle / length * a * slopes[i];
        tangents[i + 1] = kCircle / length * b * slopes[i];
    }
    return tangents;
}

Int128 Rounded(double value) {
    return static_cast<Int128>(std::round(value));
}

class SpeedLaw final : public TimeLaw {
  public:
    explicit SpeedLaw(Curve newSpeeds) : speeds(std::move(newSpeeds)) {}

    SourceTime At(std::int64_t outputFrame, int halves) const override {
        return speeds.Sum(outputFrame, halves);
    }

    std::optional<std::int64_t> Length(std::int64_t sourceFrames) const override {
        const SourceTime last{sourceFrames - 1, 0, 1};
        const CurveKey& end = speeds.Keys().back();
        if (!last.IsBefore(speeds.Sum(end.frame, 0))) return LengthPast(end, last.frame);
        std::int64_t inside = 0;
        std::int64_t outside = end.frame;
        while (outside - inside > 1) {
            const std::int64_t middle = inside + (outside - inside) / 2;
            (last.IsBefore(speeds.Sum(middle, 0)) ? outside : inside) = middle;
        }
        return outside;
    }

  private:
    // Where the last key's speed leads beyond the clip.
    std::optional<std::int64_t> LengthPast(const CurveKey& end, std::int64_t lastFrame) const {
        if (end.value.numerator == 0) return std::nullopt;
        const SourceTime at = speeds.Sum(end.frame, 0);
        const Int128 way = Int128{lastFrame - at.frame} * at.denominator - at.numerator;
        const Int128 steps =
            way * end.value.denominator / (Int128{at.denominator} * end.value.numerator);
        return end.frame + static_cast<std::int64_t>(steps) + 1;
    }

    SpeedCurve speeds;
};

class FrameLaw final : public TimeLaw {
  public:
    explicit FrameLaw(Curve newFrames) : frames(std::move(newFrames)) {}

    SourceTime At(std::int64_t outputFrame, int halves) const override {
        return frames.At(outputFrame, halves);
    }
    std::optional<std::int64_t> Length(std::int64_t) const override {
        return frames.Keys().back().frame + 1;
    }

  private:
    Curve frames;
};

}  // namespace

Curve::Curve(std::vector<CurveKey> newKeys) : keys(std::move(newKeys)) {
    for (const CurveKey& key : keys) units = std::max(units, key.value.denominator);
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        const std::int64_t start = UnitsOf(keys[i].value);
        segments.push_back(
            {start, UnitsOf(keys[i + 1].value) - start, keys[i + 1].frame - keys[i].frame});
    }
    BendSmoothWays();
    for (std::size_t i = 0; i < segments.size(); ++i) {
        if (keys[i].way == KeyWay::kHold) segments[i].rise = 0;
    }
}

std::int64_t Curve::UnitsOf(Decimal value) const {
    return value.numerator * (units / value.denominator);
}

void Curve::BendSmoothWays() {
    if (segments.empty()) return;
    std::vector<double> slopes;
    for (const Segment& segment : segments) {
        slopes.push_back(static_cast<double>(segment.rise) / static_cast<double>(segment.frames));
    }
    const std::vector<double> tangents = Tangents(slopes);
    for (std::size_t i = 0; i < segments.size(); ++i) {
        if (keys[i].way != KeyWay::kSmooth) continue;
        segments[i].bendStart = tangents[i] - slopes[i];
        segments[i].bendEnd = tangents[i + 1] - slopes[i];
    }
}

// In units: what the cubic adds to the straight line.
double Curve::Segment::BendAt(std::int64_t frame, int halves) const {
    const double length = static_cast<double>(frames);
    const double t = (static_cast<double>(frame) + halves / 2.0) / length;
    return length * t * (1.0 - t) * (bendStart * (1.0 - t) - bendEnd * t);
}

// In units: the bends of all frames before `frame`, by the sums of squares and cubes up to there,
// and half of its own for each of the halves.
double Curve::Segment::BendSum(std::int64_t frame, int halves) const {
    const double n = static_cast<double>(frame);
    const double length = static_cast<double>(frames);
    const double ones = n * (n - 1.0) / 2.0;
    const double squares = ones * (2.0 * n - 1.0) / 3.0 / length;
    const double cubes = ones / length * (ones / length);
    return bendStart * (cubes - 2.0 * squares + ones) + bendEnd * (cubes - squares) +
           halves / 2.0 * BendAt(frame, 0);
}

// In parts of sumUnits * segment.frames. The straight line's sum is a product of whole numbers.
Int128 SpeedCurve::SumInside(const Segment& segment, std::int64_t frame, int halves) const {
    const Int128 length = segment.frames;
    const Int128 straight = 2 * length * frame * segment.start +
                            Int128{segment.rise} * frame * (frame - 1) +
                            halves * (length * segment.start + Int128{segment.rise} * frame);
    const Int128 sum = straight * (sumUnits / (2 * units));
    if (!segment.IsBent()) return sum;
    const double parts =
        static_cast<double>(sumUnits / units) * static_cast<double>(segment.frames);
    return sum + Rounded(segment.BendSum(frame, halves) * parts);
}

SpeedCurve::SpeedCurve(Curve curve) : Curve(std::move(curve)), sumUnits(2 * units) {
    if (std::any_of(segments.begin(), segments.end(),
                    [](const Segment& s) { return s.IsBent(); })) {
        while (sumUnits < kBendParts) sumUnits *= 2;
    }
    sums.push_back(Int128{keys.front().frame} * UnitsOf(keys.front().value) * (sumUnits / units));
    for (const Segment& segment : segments) {
        // A whole number of parts, but for a bend's last bit.
        sums.push_back(sums.back() + SumInside(segment, segment.frames, 0) / segment.frames);
    }
}

// The last key at or before a frame that is not before the first.
std::size_t Curve::KeyBefore(std::int64_t frame) const {
    const auto next = std::upper_bound(
        keys.begin(), keys.end(), frame,
        [](std::int64_t wanted, const CurveKey& key) { return wanted < key.frame; });
    return static_cast<std::size_t>(next - keys.begin()) - 1;
}

SourceTime Curve::At(std::int64_t frame, int halves) const {
    frame += halves / 2;
    halves %= 2;
    if (frame < keys.front().frame) return PlaceAt(UnitsOf(keys.front().value), units);
    const std::size_t i = KeyBefore(frame);
    if (i == segments.size()) return PlaceAt(UnitsOf(keys[i].value), units);
    const Segment& segment = segments[i];
    frame -= keys[i].frame;
    Int128 parts = 2 * Int128{segment.frames} * units;
    Int128 value =
        2 * Int128{segment.frames} * segment.start + Int128{segment.rise} * (2 * frame + halves);
    if (segment.IsBent()) {
        for (; parts < kBendParts; parts *= 2) value *= 2;
        value += Rounded(segment.BendAt(frame, halves) * static_cast<double>(parts / units));
    }
    return PlaceAt(value, parts);
}

SourceTime SpeedCurve::Sum(std::int64_t frame, int halves) const {
    frame += halves / 2;
    halves %= 2;
    const bool isBefore = frame < keys.front().frame;
    const std::size_t i = isBefore ? 0 : KeyBefore(frame);
    if (isBefore || i == segments.size()) {
        const std::int64_t since = isBefore ? 0 : keys[i].frame;
        const Int128 before = isBefore ? Int128{0} : sums[i];
        const Int128 halfFrames = 2 * (frame - since) + halves;
        return PlaceAt(before + halfFrames * UnitsOf(keys[i].value) * (sumUnits / (2 * units)),
                       sumUnits);
    }
    const Segment& segment = segments[i];
    return PlaceAt(sums[i] * segment.frames + SumInside(segment, frame - keys[i].frame, halves),
                   Int128{sumUnits} * segment.frames);
}

std::unique_ptr<TimeLaw> SpeedCurveLaw(Curve speeds) {
    return std::make_unique<SpeedLaw>(std::move(speeds));
}

std::unique_ptr<TimeLaw> FrameCurveLaw(Curve sourceFrames) {
    return std::make_unique<FrameLaw>(std::move(sourceFrames));
}

}  // namespace velorin
