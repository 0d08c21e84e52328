#include "warp/blend_coverage_kernel.h"

#include <algorithm>
#include <array>
#include <type_traits>

#include "image/bilinear_lanes.h"
#include "image/packed_lanes.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin::VELORIN_KERNEL_SET {

namespace {

using Pixel = std::array<float, 4>;

template <typename Value>
Pixel LoadPixel(const Value* from) {
    Pixel pixel;
    for (int c = 0; c < 4; ++c) pixel[c] = static_cast<float>(from[c]);
    return pixel;
}

Pixel MixPixels(const Pixel& first, const Pixel& second, float share) {
    Pixel mixed;
    for (int c = 0; c < 4; ++c) mixed[c] = first[c] + (second[c] - first[c]) * share;
    return mixed;
}

// `front` with what `back` has under it; alpha is the last channel.
Pixel FillUnder(const Pixel& front, const Pixel& back, float white) {
    if (front[3] == 0.0f) return back;
    if (front[3] == white) return front;
    const float k = front[3] / white;
    Pixel filled;
    for (int c = 0; c < 3; ++c) filled[c] = back[c] * (1.0f - k) + front[c];
    filled[3] = (white - back[3]) * k + back[3];
    return filled;
}

// Pixels that carry their coverage as alpha.
template <typename Value>
struct AlphaRule {
    static constexpr int kMatte = 3;

    // Where both are covered: the generic rule, without what leaves the bits as they are.
    VELORIN_ALWAYS_INLINE static Floats MixCovered(Floats first, Floats second, Floats share) {
        return MixLanes(first, second, share);
    }

    static void Mix(const Pixel& first, const Pixel& second, float white, float share, Value* out) {
        const Pixel p = FillUnder(first, second, white);
        const Pixel q = FillUnder(second, first, white);
        const float top = std::max(first[3], second[3]);
        Pixel mixed = MixPixels(p, q, share);
        if (mixed[3] != top) {
            if (mixed[3] == 0.0f) {
                const Pixel& whole = p[3] > q[3] ? p : q;
                for (int c = 0; c < 4; ++c) out[c] = TruncateClamped<Value>(whole[c]);
                return;
            }
            for (int c = 0; c < 3; ++c) mixed[c] = mixed[c] * top / mixed[3];
            mixed[3] = top;
        }
        for (int c = 0; c < 4; ++c) out[c] = RoundClamped<Value>(mixed[c]);
    }
};

// Pixels that carry their matte in the first channel.
template <typename Value>
struct YCbCrRule {
    static constexpr int kMatte = 0;

    // What lies behind a full matte still counts zero times, which floats can tell.
    VELORIN_ALWAYS_INLINE static Floats MixCovered(Floats first, Floats second, Floats share) {
        if constexpr (!std::is_same_v<Value, float>) return MixLanes(first, second, share);
        return MixLanes(second * 0.0f + first, first * 0.0f + second, share);
    }

    // `front` over `back`, with a matte that is full or, where neither is, zero.
    static Pixel Fill(const Pixel& front, const Pixel& back, float white) {
        if (back[0] != white) return front[0] == white ? front : Pixel{};
        Pixel filled{back[0]};
        const float behind = 1.0f - front[0] / white;
        for (int c = 1; c < 4; ++c) filled[c] = back[c] * behind + front[c];
        return filled;
    }

    static void Mix(const Pixel& first, const Pixel& second, float white, float share, Value* out) {
        const Pixel mixed =
            MixPixels(Fill(first, second, white), Fill(second, first, white), share);
        for (int c = 0; c < 4; ++c) out[c] = RoundClamped<Value>(mixed[c]);
    }
};

// Whether the matte of every pixel is full. It stands in one of each pixel's words.
template <int kMatte, typename Value>
VELORIN_ALWAYS_INLINE bool IsCovered(const PackedLanes<Value>& pixels, Floats white) {
    constexpr int kParts = PackedLanes<Value>::kParts;
    const Ints elsewhere = LaneNumbers() % (4 / kParts) != kMatte / kParts;
    return !AnyLane(~(elsewhere | (pixels.Part(kMatte % kParts) == white)));
}

// A vector of pixels of which some are not covered, over what was mixed as if all were.
template <typename Rule, typename Value>
void BlendOpen(const PackedLanes<Value>& first, const PackedLanes<Value>& second, float white,
               float share, Value* out) {
    Value f[PackedLanes<Value>::kValues], s[PackedLanes<Value>::kValues];
    first.Store(f);
    second.Store(s);
    for (int i = 0; i < PackedLanes<Value>::kValues; i += 4) {
        const bool covered = static_cast<float>(f[i + Rule::kMatte]) == white &&
                             static_cast<float>(s[i + Rule::kMatte]) == white;
        if (!covered) Rule::Mix(LoadPixel(f + i), LoadPixel(s + i), white, share, out + i);
    }
}

// `count` values, pixel by pixel.
template <typename Rule, typename Value>
VELORIN_ALWAYS_INLINE void BlendEach(const Value* first, const Value* second, int count,
                                     float white, float share, Value* out) {
    for (int i = 0; i < count; i += 4) {
        Rule::Mix(LoadPixel(first + i), LoadPixel(second + i), white, share, out + i);
    }
}

template <typename Rule, typename Value>
void BlendRow(const CoverageJob& job, int y) {
    using Packed = PackedLanes<Value>;
    const float white = job.first.whitePoint;
    const Value* first = job.first.Row<Value>(y);
    const Value* second = job.second.Row<Value>(y);
    Value* out = job.dest.Row<Value>(y);
    const int count = 4 * job.dest.width;
    int i = 0;
    for (; i + Packed::kValues <= count; i += Packed::kValues) {
        const Packed f = Packed::Load(first + i), s = Packed::Load(second + i);
        Packed mixed;
        for (int part = 0; part < Packed::kParts; ++part) {
            mixed.AddClamped(part,
                             Rule::MixCovered(f.Part(part), s.Part(part), AllLanes(job.share)));
        }
        const bool covered = IsCovered<Rule::kMatte>(f, AllLanes(white)) &&
                             IsCovered<Rule::kMatte>(s, AllLanes(white));
        mixed.Store(out + i);
        if (!covered) BlendOpen<Rule>(f, s, white, job.share, out + i);
    }
    BlendEach<Rule>(first + i, second + i, count - i, white, job.share, out + i);
}

template <template <typename> class Rule>
VELORIN_ALWAYS_INLINE void BlendRows(const CoverageJob& job, int firstRow, int lastRow) {
    WithPictureType(job.dest.pixelType, [&](auto zero) {
        for (int y = firstRow; y <= lastRow; ++y)
            BlendRow<Rule<decltype(zero)>, decltype(zero)>(job, y);
    });
}

}  // namespace

void BlendAlphaRows(const CoverageJob& job, int firstRow, int lastRow) {
    BlendRows<AlphaRule>(job, firstRow, lastRow);
}

void BlendYCbCrRows(const CoverageJob& job, int firstRow, int lastRow) {
    BlendRows<YCbCrRule>(job, firstRow, lastRow);
}

}  // namespace velorin::VELORIN_KERNEL_SET
