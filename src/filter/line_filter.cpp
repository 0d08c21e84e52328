#include "filter/line_filter.h"

#include "filter/line_filter_kernel.h"

namespace velorin {

void FilterLine(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                float* out) {
    FilterLine(v, length, lanes, kernel, absent, 0, length, out);
}

void FilterLine(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                int begin, int end, float* out) {
    VELORIN_KERNEL(FilterLineKernel)(v, length, lanes, kernel, absent, begin, end, out);
}

}  // namespace velorin
