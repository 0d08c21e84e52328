#include "engine/render_pass.h"
#include "image/copy.h"
#include "warp/blend.h"
#include "warp/flow_dissolve.h"

namespace velorin {

// Frames that need no flow: those on a source frame, and all where vectors are off.
void KQVelorin4Internal::RenderDirect(RenderPass& pass) {
    pass.frames.HoldWarped(pass.floorFrame, pass.ceilFrame);
    const ZPImage& floorFrame = pass.frames.WarpedFloor();
    const ZPImage& ceilFrame = pass.frames.WarpedCeil();
    pass.RequireChannels();
    switch (pass.interpMethod) {
        case 0:
            return CopyConverted(pass.Target(), pass.floorWeight >= 0.5f ? floorFrame : ceilFrame);
        case 1:
            return ZPBlendTwo(pass.Target(), floorFrame, ceilFrame, 1.0f - pass.floorWeight);
        default:
            return ZPFlowDissolve(pass.Target(), floorFrame, nullptr, ceilFrame, nullptr, nullptr,
                                  nullptr, pass.floorWeight);
    }
}

}  // namespace velorin
