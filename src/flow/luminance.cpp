#include "flow/luminance.h"

#include <algorithm>
#include <cstdio>

#include "flow/luminance_kernel.h"
#include "image/parallel_rows.h"

namespace velorin {

namespace {

bool HasOtherWhite(const ZPImage& frame) {
    return frame.pixelType == ZPPixFloat && frame.whitePoint != 1.0f;
}

}  // namespace

bool HasLuminance(const ZPImage& frame) {
    const bool knownChannels = frame.channels == 1 || frame.channels == 3 || frame.channels == 4;
    return knownChannels && frame.pixelType >= ZPPixUChar && frame.pixelType <= ZPPixFloat &&
           !HasOtherWhite(frame);
}

bool ConvertToLuminance(ZPImage& dest, const ZPImage& frame, bool lumaIsFirst) {
    if (HasOtherWhite(frame)) {
        std::fputs(" floating image input to ZPOpticalFlowUChar is not in correct range\n", stderr);
    }
    if (!HasLuminance(frame)) return false;
    const auto convert = VELORIN_KERNEL(LuminanceRows);
    ParallelRows(std::min(dest.height, frame.height), [&](int firstRow, int lastRow) {
        convert(dest, frame, lumaIsFirst, firstRow, lastRow);
    });
    return true;
}

}  // namespace velorin
