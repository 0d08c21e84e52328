#include "warp/blend.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"
#include "warp/blend_kernel.h"

namespace velorin {

namespace {

bool Compatible(const ZPImage& a, const ZPImage& b) {
    return !ShapeDiffers(&a, &b) && a.bottomUp == b.bottomUp && a.pixelType == b.pixelType;
}

struct RowSelection {
    int first;
    int step;
    int Count(int height) const { return (height - first + step - 1) / step; }
};

RowSelection SelectRows(int rowMode) {
    if (rowMode == 1) return {0, 1};
    return {rowMode == 3 ? 1 : 0, 2};
}

template <typename Work>
void ForEachSelectedRow(const RowSelection& rows, int height, const Work& work) {
    ParallelRows(rows.Count(height), [&](int firstRow, int lastRow) {
        for (int i = firstRow; i <= lastRow; ++i) work(rows.first + i * rows.step);
    });
}

// Weighs by alpha; `white` is the type's.
template <typename Value>
void BlendPremultiplied(Value* target, const Value* other, float share) {
    constexpr float kWhite = PictureType<Value>::kWhite;
    float mixed[4];
    for (int c = 0; c < 4; ++c) {
        const float o = static_cast<float>(other[c]);
        mixed[c] = o + (static_cast<float>(target[c]) - o) * share;
    }
    const float w = mixed[3] / kWhite;
    if (!(w > 0.0f)) {
        for (int c = 0; c < 4; ++c) target[c] = 0;
        return;
    }
    if (w > 1.0f) {
        for (int c = 0; c < 3; ++c) mixed[c] /= w;
    }
    mixed[3] = std::clamp(mixed[3], 0.0f, kWhite);
    if constexpr (std::is_same_v<Value, float>) {
        for (int c = 0; c < 4; ++c) target[c] = mixed[c];
    } else {
        for (int c = 0; c < 4; ++c) {
            target[c] = RoundClamped<Value>(static_cast<double>(mixed[c]));
        }
        for (int c = 0; c < 3; ++c) target[c] = std::min(target[c], target[3]);
    }
}

template <typename Form>
void BlendRow(typename Form::Value* target, const typename Form::Value* other, int width,
              float share) {
    using Value = typename Form::Value;
    constexpr bool kFloat = std::is_same_v<Value, float>;
    if constexpr (Form::kChannels == 4) {
        for (int i = 0; i < 4 * width; i += 4) BlendPremultiplied(target + i, other + i, share);
    } else if constexpr (Form::kChannels == 3 && kFloat) {
        for (int i = 0; i < 3 * width; ++i) target[i] = other[i] + (target[i] - other[i]) * share;
    } else if constexpr (Form::kChannels == 3 && std::is_same_v<Value, std::uint8_t>) {
        for (int i = 0; i < 3 * width; ++i) {
            const float t = static_cast<float>(target[i]);
            const float o = static_cast<float>(other[i]);
            target[i] = RoundClamped<Value>(t * share + o * (1.0f - share));
        }
    }
}

template <typename Value>
void MixBeyond(Value* dest, const Value* first, const Value* second, int count, float share) {
    for (int i = 0; i < count; ++i) {
        const float f = static_cast<float>(first[i]);
        dest[i] = RoundUnclamped<Value>(f + (static_cast<float>(second[i]) - f) * share);
    }
}

bool Within(float share, double of) {
    return std::fabs(static_cast<double>(share) - of) < 0.005;
}

}  // namespace

int ZPBlend(ZPImage& target, const ZPImage& other, float share) {
    if (target.channels != 4 && other.channels != 4) return ZPBlendRows(target, other, 1, share);
    if (!Compatible(target, other) || share == 1.0f) return 1;
    if (share == 0.0f) {
        CopyExact(&target, &other);
        return 1;
    }
    const auto blendRows = VELORIN_KERNEL(BlendRows);
    ParallelRows(target.height, [&](int firstRow, int lastRow) {
        blendRows(target, other, share, firstRow, lastRow);
    });
    return 1;
}

int ZPBlendRows(ZPImage& target, const ZPImage& other, int rowMode, float share) {
    if (!Compatible(target, other)) return 0;
    if (share == 1.0f) return 1;
    const RowSelection rows = SelectRows(rowMode);
    if (share == 0.0f) {
        ForEachSelectedRow(rows, target.height, [&](int y) {
            std::memcpy(target.Row<char>(y), other.Row<char>(y), target.RowPixelBytes());
        });
        return 1;
    }
    if (target.pixelType == ZPPixFloat && (target.whitePoint != 1.0f || other.whitePoint != 1.0f)) {
        std::fputs("ZPBlend: float image doesn't have 1.0 for white point\n", stderr);
        return 0;
    }
    WithPictureForm(target, [&](auto form) {
        using Form = decltype(form);
        using Value = typename Form::Value;
        ForEachSelectedRow(rows, target.height, [&](int y) {
            BlendRow<Form>(target.Row<Value>(y), other.Row<Value>(y), target.width, share);
        });
    });
    return 1;
}

void ZPBlendTwo(ZPImage& dest, const ZPImage& first, const ZPImage& second, float share) {
    if (dest.channels != first.channels || dest.channels != second.channels) return;
    if (Within(share, 0.0)) return CopyConverted(dest, first);
    if (Within(share, 1.0)) return CopyConverted(dest, second);
    const bool inside = share >= 0.0f && share <= 1.0f;
    if (first.channels == 4 && !inside) {
        CopyConverted(dest, first);
        ZPBlendRows(dest, second, 1, 1.0f - share);
        return;
    }
    const bool fits = !ShapeDiffers(&dest, &first) && !ShapeDiffers(&dest, &second) &&
                      dest.pixelType == first.pixelType && dest.pixelType == second.pixelType;
    if (!fits || dest.channels < 1 || dest.channels == 2 || dest.channels > 4) return;
    if (inside) {
        const auto mixRows = VELORIN_KERNEL(MixRows);
        ParallelRows(dest.height, [&](int firstRow, int lastRow) {
            mixRows(dest, first, second, share, firstRow, lastRow);
        });
        return;
    }
    WithPictureType(dest.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        const int count = dest.width * dest.channels;
        ForEachSelectedRow({0, 1}, dest.height, [&](int y) {
            MixBeyond(dest.Row<Value>(y), first.Row<Value>(y), second.Row<Value>(y), count, share);
        });
    });
}

}  // namespace velorin
