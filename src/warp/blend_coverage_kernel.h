#pragma once

#include "image/kernel_sets.h"
#include "image/zp_image.h"

namespace velorin {

struct CoverageJob {
    ZPImage& dest;
    const ZPImage& first;
    const ZPImage& second;
    const ZPImage& coverageFirst;
    const ZPImage& coverageSecond;
    float share;
};

// ZPBlendCoverage and ZPBlendCoverageYCbCr of pictures of four channels.
VELORIN_DECLARE_KERNELS(void BlendAlphaRows(const CoverageJob& job, int firstRow, int lastRow);
                        void BlendYCbCrRows(const CoverageJob& job, int firstRow, int lastRow);)

}  // namespace velorin
