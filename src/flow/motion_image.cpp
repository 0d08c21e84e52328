#include "flow/motion_image.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <type_traits>

#include "flow/matte.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

constexpr int kCodedChannels = 4;
constexpr int kAlpha = 3;

// Rest lies on a code of its own, so one code of the type's range stays over at the upper end.
template <typename Value>
float DecodeComponent(Value coded, float scale) {
    if constexpr (std::is_floating_point_v<Value>) {
        return (2.0f * coded - 1.0f) * scale;
    } else {
        constexpr double kFull = std::numeric_limits<Value>::max() - 1;
        const double fraction = 2.0 * static_cast<double>(coded) / kFull - 1.0;
        return static_cast<float>(fraction * static_cast<double>(scale));
    }
}

template <typename Value>
void DecodeRows(ZPImage& flow, const ZPImage& coded, float scale, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        const Value* pixel = coded.Row<Value>(y);
        float* vector = flow.Row<float>(y);
        for (int x = 0; x < flow.width; ++x, pixel += kCodedChannels, vector += 2) {
            const bool known = pixel[kAlpha] != 0;
            vector[0] = known ? DecodeComponent(pixel[0], scale) : 0.0f;
            vector[1] = known ? DecodeComponent(pixel[1], scale) : 0.0f;
        }
    }
}

}  // namespace

void ScaleXY(ZPImage& flow, float sx, float sy) {
    // On purpose refused only when both are wrong: one that is only float, or only of 2 channels,
    // is scaled as a flow.
    if (flow.channels != 2 && flow.pixelType != ZPPixFloat) {
        std::fputs("error in ScaleXY!\n", stderr);
        return;
    }
    // Two floats a column may be more than a row of those holds: no further than its last pixel.
    const std::size_t held = flow.RowPixelBytes() / sizeof(float);
    const std::size_t count = std::min(held, 2 * static_cast<std::size_t>(flow.width));
    for (int y = 0; y < flow.height; ++y) {
        // By bytes, since rows of another type may begin anywhere.
        std::byte* at = flow.Row<std::byte>(y);
        for (std::size_t i = 0; i < count; ++i, at += sizeof(float)) {
            float value;
            std::memcpy(&value, at, sizeof value);
            value *= i % 2 == 0 ? sx : sy;
            std::memcpy(at, &value, sizeof value);
        }
    }
}

void UnpackMotionImage(ZPImage& flow, const ZPImage& coded, float scale,
                       KQIdleAndProgressClass* progress) {
    if (SizeDiffers(&flow, &coded)) return;
    if (flow.pixelType != ZPPixFloat || flow.channels != 2) return;
    if (coded.channels != kCodedChannels) return;
    const bool decoded = WithPictureType(coded.pixelType, [&](auto zero) {
        ParallelRows(flow.height, [&](int firstRow, int lastRow) {
            DecodeRows<decltype(zero)>(flow, coded, scale, firstRow, lastRow);
        });
    });
    if (!decoded) return;
    ZPImage holes(coded.width, coded.height, 1, coded.pixelType, 0);
    CopyCHannelIntoCHannel(holes, 0, coded, kAlpha);
    InvertImage(holes);
    FillUnderMatte(flow, holes, progress, 2);
}

}  // namespace velorin
