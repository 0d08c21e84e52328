#include "engine/compensate_blur.h"

#include <algorithm>
#include <cmath>

#include "filter/blur_along_flow.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "warp/blend.h"

namespace velorin {

namespace {

// The means of the colours where nothing is seen are of no use to what follows.
void ClearUnseen(ZPImage& image) {
    if (image.channels != 4) return;
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        ParallelRows(image.height, [&](int firstRow, int lastRow) {
            for (int y = firstRow; y <= lastRow; ++y) {
                Value* pixel = image.Row<Value>(y);
                for (int x = 0; x < image.width; ++x, pixel += 4) {
                    if (pixel[3] == Value(0)) std::fill_n(pixel, 3, Value(0));
                }
            }
        });
    });
}

}  // namespace

void CompensateBlur(ZPImage& destination, const ZPImage& source, const ZPImage& flow, bool bilinear,
                    KQIdleAndProgressClass& progress, float amount) {
    amount = std::max(std::min(amount, 20.0f), -10.0f);
    if (static_cast<double>(std::fabs(amount)) < 1e-06) {
        CopyExact(&destination, &source);
        return;
    }
    const auto blur = [&](float share) {
        BlurAlongFlow(destination, source, flow, bilinear ? 1 : 0, &progress, 0, 0,
                      source.lastColumn, 0, source.lastRow, share);
    };
    if (amount > 0.0f) {
        blur(amount);
        ClearUnseen(destination);
        return;
    }
    // The width of the blur stays: how slow the clip runs shows in the share alone.
    blur(0.5f);
    progress.Tick();
    ZPBlend(destination, source, amount);
    progress.Tick();
}

}  // namespace velorin
