#pragma once

#include "filter/line_filter.h"
#include "image/zp_image.h"

namespace velorin {

enum class FilterPass { kBoth = 0, kRows = 1, kColumns = 2 };

// Filters every channel of an image by a symmetric half kernel of up to 4096 taps: rows from
// `source` into `dest`, then the columns of `dest` in place. The two may be the same image; they
// have one size and form. Works on the twelve picture forms and leaves any other as it is.
//
// Samples beyond a line are absent, not black: near the ends the weights that fall inside are
// scaled to sum to 1. In images of 2 to 4 channels a sample of exactly -1.0 near the ends counts as
// absent too.
//
// Throws ZPErrBadArgument where a line with a margin of one kernel on each side is longer than
// kMaxLineLength.
void FilterImage(ZPImage& dest, const ZPImage& source, HalfKernel kernel, FilterPass pass);

// Throws what FilterImage does of an image whose rows and columns are filtered.
void CheckFilterSize(const ZPImage& image, HalfKernel kernel);

}  // namespace velorin
