#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Weighted Energy Blend: moves both frames of a pair to a moment between them, sharpens each where
// the move changed it, and mixes them. Despite the name no energy weighs in: the mix is the plain
// share, and sharpening, strongest half-way, makes up for what bilinear reads soften.
//
//   dest, first, second  four channels of one picture type and one size
//   flowForFirst, flowForSecond  the flow that the inverse warp moves that frame by: it leads from
//                the other frame to it. Null: that frame is not moved
//   scratchFirst, scratchSecond  null, or images like the frames to work in; the first may be
//   `dest` share        weight of `first`: it is moved by 1 - share of its way, `second` by share
//
// A pair that the warp refuses, after its line on standard error, counts as black. Throw
// ZPErrNoMemory; `dest` is then undefined.
void ZPFlowDissolve(ZPImage& dest, const ZPImage& first, const ZPImage* flowForSecond,
                    const ZPImage& second, const ZPImage* flowForFirst, ZPImage* scratchFirst,
                    ZPImage* scratchSecond, float share);

// The same with coverage: of two moved frames the one that has a pixel decides it, and what neither
// has takes the nearest colour. The coverage images, one channel of bytes of the frames' size, are
// scratch: `coverageFirst` comes back as the marks of what was filled.
void ZPFlowDissolveCoverage(ZPImage& dest, const ZPImage& first, const ZPImage* flowForSecond,
                            const ZPImage& second, const ZPImage* flowForFirst,
                            ZPImage* scratchFirst, ZPImage* scratchSecond, ZPImage& coverageFirst,
                            ZPImage& coverageSecond, float share);

// The same by the forward warp, which moves each frame by the flow that leaves it. With either flow
// null no frame is moved; without both coverage images holes stay and the frames are mixed plainly.
// Throws what the warp throws, ZPErrInterrupted too.
void ZPFlowDissolveForward(ZPImage& dest, const ZPImage& first, const ZPImage* flowForSecond,
                           const ZPImage& second, const ZPImage* flowForFirst,
                           ZPImage* scratchFirst, ZPImage* scratchSecond, ZPImage* coverageFirst,
                           ZPImage* coverageSecond, KQIdleAndProgressClass* progress, float share);

}  // namespace velorin
