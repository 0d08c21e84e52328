#pragma once

#include "engine/layer_images.h"
#include "engine/render_pass.h"

namespace velorin {

// The frame before or the one after the moment that is rendered, as one layer sees it.
struct LayerSide {
    const ZPImage& tracked;  // the whole frame that motion is measured on
    const ZPImage& warped;   // and the one that the picture is made of
    const LayerMattes mattes;
    ZPImage& visible;     // the layer's matte without what lies in front of it
    ZPImage& cutTracked;  // `tracked` cut out by `visible`, while the layer's flows are computed
};

// What the layered render of one pass works with. All images have the result's size and, unless
// told otherwise, its type. The pictures rotate: each step says which it reads and which it writes.
struct LayerWork {
    // For a pass that holds its frames and mattes.
    explicit LayerWork(const RenderPass& pass);

    ZPImage layerP, layerQ, layerR, layerS;  // 4 channels, premultiplied unless a step says else
    ZPImage matteFloorWork, matteCeilWork;
    ZPImage scratchFloat;  // float: a front layer's matte, 0.0 to 1.0
    ZPImage scratchMatte;
    // Coverage lies in the memory of the two scratch images, which no step needs while it warps.
    ZPImage coverageA, coverageB;
    LayerSide floorSide, ceilSide;

  private:
    LayerWork(const RenderPass& pass, int width, int height, int pixelType);
};

}  // namespace velorin
