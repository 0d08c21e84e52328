#include "engine/render_pass.h"
#include "image/copy.h"
#include "warp/blend.h"

namespace velorin {

// Frames that need no flow: those on a source frame, and all where vectors are off.
void KQVelorin4Internal::RenderDirect(RenderPass& pass) {
    pass.frames.HoldWarped(pass.floorFrame, pass.ceilFrame);
    const ZPImage& floorFrame = pass.frames.WarpedFloor();
    const ZPImage& ceilFrame = pass.frames.WarpedCeil();
    // The copies take any size and type, but walk both images by one channel count.
    for (const ZPImage* frame : {&floorFrame, &ceilFrame}) {
        if (frame->channels != pass.Sample().channels) throw ZPErrBadArgument;
    }
    switch (pass.interpMethod) {
        case 0:
            return CopyConverted(pass.Target(), pass.floorWeight >= 0.5f ? floorFrame : ceilFrame);
        case 1:
            return ZPBlendTwo(pass.Target(), floorFrame, ceilFrame, 1.0f - pass.floorWeight);
        default:
            throw ZPErrBadArgument;
    }
}

}  // namespace velorin
