#include "cli/uneven_times.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <numeric>
#include <utility>

#include "media/picture_times.h"

namespace velorin {

namespace {

constexpr Int128 kGreatestDenominator = Int128{1} << 74;
constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();

Rational Lowest(std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t divisor = std::gcd(numerator, denominator);
    return {numerator / divisor, denominator / divisor};
}

// Ticks of one frame at the nominal rate.
Rational TicksOfFrame(const ClipInfo& clip) {
    const Rational& tick = clip.times->tick;
    const Rational above = Lowest(tick.denominator, clip.rate.numerator);
    const Rational below = Lowest(clip.rate.denominator, tick.numerator);
    return Lowest(above.numerator * below.numerator, above.denominator * below.denominator);
}

Int128 Divisor(Int128 a, Int128 b) {
    while (b != 0) a = std::exchange(b, a % b);
    return a;
}

// The place `numerator` / (`denominator` * `duration`) behind a picture.
SourceTime Behind(std::int64_t picture, Int128 numerator, Int128 denominator,
                  std::int64_t duration) {
    const Int128 divisor = Divisor(denominator, numerator < 0 ? -numerator : numerator);
    numerator /= divisor;
    denominator /= divisor;
    // So long a fraction that its end lies far below what a float can tell.
    for (; denominator * duration > kGreatestDenominator; denominator /= 2) numerator /= 2;
    SourceTime place = PlaceAt(numerator, denominator * duration);
    place.frame += picture;
    return place;
}

class PicturesLaw final : public TimeLaw {
  public:
    PicturesLaw(std::unique_ptr<TimeLaw> newLaw, const ClipInfo& clip)
        : law(std::move(newLaw)),
          times(clip.times),
          ticksOfFrame(TicksOfFrame(clip)),
          lastTime(PlaceAt(EvenTimeOfLast(clip).numerator, EvenTimeOfLast(clip).denominator)) {}

    SourceTime At(std::int64_t outputFrame, int halves) const override {
        return PictureAt(law->At(outputFrame, halves));
    }

    std::optional<std::int64_t> Length(std::int64_t) const override;

  private:
    SourceTime PictureAt(const SourceTime& time) const;

    std::unique_ptr<TimeLaw> law;
    std::shared_ptr<const PictureTimes> times;
    Rational ticksOfFrame;
    SourceTime lastTime;
};

SourceTime PicturesLaw::PictureAt(const SourceTime& time) const {
    const auto last = std::ssize(times->ticks) - 1;
    if (!time.IsBefore(lastTime)) {
        const Int128 past = Int128{time.numerator} * lastTime.denominator -
                            Int128{lastTime.numerator} * time.denominator;
        return Behind(last + time.frame - lastTime.frame, past,
                      Int128{time.denominator} * lastTime.denominator, 1);
    }
    // Ticks since the first picture: whole ones, and `rest` of `parts`.
    const Int128 ofFrames = Int128{time.frame} * ticksOfFrame.numerator;
    const Int128 parts = Int128{time.denominator} * ticksOfFrame.denominator;
    Int128 rest = ofFrames % ticksOfFrame.denominator * time.denominator +
                  Int128{time.numerator} * ticksOfFrame.numerator;
    const auto whole =
        static_cast<std::int64_t>(ofFrames / ticksOfFrame.denominator + rest / parts);
    rest %= parts;
    const std::vector<std::int64_t>& ticks = times->ticks;
    const auto next = std::upper_bound(ticks.begin() + 1, ticks.end() - 1, ticks.front() + whole);
    const std::int64_t start = *(next - 1);
    return Behind(next - ticks.begin() - 1, (ticks.front() + whole - start) * parts + rest, parts,
                  *next - start);
}

// Times rise with the frames: the first one past the last picture is looked for by halves.
std::optional<std::int64_t> PicturesLaw::Length(std::int64_t) const {
    const std::optional<std::int64_t> atLeast = law->Length(lastTime.frame + 1);
    if (!atLeast || *atLeast > kMostFrames) return atLeast;
    const auto isInside = [&](std::int64_t frame) { return !lastTime.IsBefore(law->At(frame, 0)); };
    if (isInside(kMostFrames)) return std::nullopt;
    std::int64_t inside = *atLeast - 1;
    std::int64_t outside = kMostFrames;
    while (outside - inside > 1) {
        const std::int64_t middle = inside + (outside - inside) / 2;
        (isInside(middle) ? inside : outside) = middle;
    }
    return outside;
}

}  // namespace

Rational EvenTimeOfLast(const ClipInfo& clip) {
    const std::vector<std::int64_t>& ticks = clip.times->ticks;
    const Rational ofFrame = TicksOfFrame(clip);
    const Rational span = Lowest(ticks.back() - ticks.front(), ofFrame.numerator);
    return Lowest(span.numerator * ofFrame.denominator, span.denominator);
}

std::unique_ptr<TimeLaw> AlongPictures(std::unique_ptr<TimeLaw> law, const ClipInfo& clip) {
    return std::make_unique<PicturesLaw>(std::move(law), clip);
}

std::string UnevenText(const ClipInfo& clip) {
    const RateSpan rates = RatesOf(*clip.times);
    char text[96];
    std::snprintf(text, sizeof text, "uneven, from %.6g to %.6g frames a second", rates.least,
                  rates.most);
    return text;
}

}  // namespace velorin
