#include "cli/frame_size_flow.h"

#include "image/bilinear.h"
#include "image/parallel_rows.h"

namespace velorin {

void SpreadFlow(const ZPImage& flow, int width, int height, Picture& spread) {
    spread.SetShape(width, height, ZPPixFloat, 2);
    ZPImage image(spread.pixels.data(), width, height, 2, ZPPixFloat, 1);
    const float toFlowX =
        static_cast<float>(flow.lastColumn) / static_cast<float>(image.lastColumn);
    const float toFlowY = static_cast<float>(flow.lastRow) / static_cast<float>(image.lastRow);
    ParallelRows(height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            const FlowLine line(flow, static_cast<float>(y) * toFlowY);
            float* out = image.Row<float>(y);
            for (int x = 0; x < width; ++x, out += 2) {
                line.At(static_cast<float>(x) * toFlowX, out[0], out[1]);
                out[0] /= toFlowX;
                out[1] /= toFlowY;
            }
        }
    });
}

}  // namespace velorin
