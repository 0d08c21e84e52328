#include "filter/line_filter_kernel.h"

#include "filter/line_filter_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

void FilterLineKernel(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                      int begin, int end, float* out) {
    FilterLineLanes(v, length, lanes, kernel.data(), static_cast<int>(kernel.size()), absent, begin,
                    end, out);
}

}  // namespace velorin::VELORIN_KERNEL_SET
