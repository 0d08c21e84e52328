#include "warp/blend_kernel.h"

#include <algorithm>
#include <utility>

#include "image/interleaved_lanes.h"
#include "image/pixel_form.h"
#include "image/rounding.h"
#include "warp/mix_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

namespace {

// The last of each pixel's words, in all of them.
template <int kWords, int... kLane>
VELORIN_ALWAYS_INLINE Floats SpreadLast(Floats words, std::integer_sequence<int, kLane...>) {
    return __builtin_shufflevector(words, words, (kLane | (kWords - 1))...);
}

// ZPBlend of the pixels that fill the lanes: colours are rounded, alpha is cut.
template <typename Value>
VELORIN_ALWAYS_INLINE void BlendPixels(Value* target, const Value* other, float share,
                                       float white) {
    using Packed = PackedLanes<Value>;
    constexpr int kParts = Packed::kParts;
    constexpr int kWords = 4 / kParts;
    const Packed t = Packed::Load(target), o = Packed::Load(other);
    const auto mix = [&](int part) __attribute__((always_inline)) {
        return MixLanes(o.Part(part), t.Part(part), AllLanes(share));
    };
    const Floats alpha =
        ClampLanes(SpreadLast<kWords>(mix(kParts - 1), EachLane()), AllLanes(white));
    const Ints holdsAlpha = LaneNumbers() % kWords == kWords - 1;
    Packed blended;
    for (int part = 0; part < kParts; ++part) {
        const Floats colour = Packed::Raised(mix(part));
        const Floats value = part == kParts - 1 ? (holdsAlpha ? alpha : colour) : colour;
        blended.AddCut(part, alpha > 0.0f ? value : Floats{});
    }
    blended.Store(target);
}

// The same of one pixel.
template <typename Value>
VELORIN_ALWAYS_INLINE void BlendPixel(Value* target, const Value* other, float share, float white) {
    float mixed[4];
    for (int c = 0; c < 4; ++c) {
        const float o = static_cast<float>(other[c]);
        mixed[c] = o + (static_cast<float>(target[c]) - o) * share;
    }
    const float alpha = std::max(std::min(mixed[3], white), 0.0f);
    if (!(alpha > 0.0f)) {
        for (int c = 0; c < 4; ++c) target[c] = 0;
        return;
    }
    for (int c = 0; c < 3; ++c) target[c] = RoundClamped<Value>(mixed[c]);
    target[3] = TruncateClamped<Value>(alpha);
}

}  // namespace

void BlendRows(ZPImage& target, const ZPImage& other, float share, int firstRow, int lastRow) {
    WithPictureType(target.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        constexpr int kStep = PackedLanes<Value>::kValues;
        const int count = 4 * target.width;
        for (int y = firstRow; y <= lastRow; ++y) {
            Value* to = target.Row<Value>(y);
            const Value* from = other.Row<Value>(y);
            int i = 0;
            for (; i + kStep <= count; i += kStep) {
                BlendPixels(to + i, from + i, share, other.whitePoint);
            }
            for (; i < count; i += 4) BlendPixel(to + i, from + i, share, other.whitePoint);
        }
    });
}

void MixRows(ZPImage& dest, const ZPImage& first, const ZPImage& second, float share, int firstRow,
             int lastRow) {
    WithPictureType(dest.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        for (int y = firstRow; y <= lastRow; ++y) {
            MixInside(dest.Row<Value>(y), first.Row<Value>(y), second.Row<Value>(y),
                      dest.width * dest.channels, share);
        }
    });
}

}  // namespace velorin::VELORIN_KERNEL_SET
