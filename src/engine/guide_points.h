#pragma once

#include "engine/kq_velorin.h"
#include "flow/morph_flow.h"
#include "flow/optical_flow.h"

namespace velorin {

// What guide points are asked for: those of one layer, from frame A of a pair to frame B.
struct GuidedPair {
    int layer;
    int frameA;
    int frameB;
    bool areFields;  // the numbers count fields, two to a frame
    int width;       // of the frames, in whose pixels the points are told
    int height;
};

// Hands the host's guide points to the estimator, which must be guided, or to the morph flow, in
// place of those that it had. Points outside the frame are dropped. A failing host's code is
// thrown.
void FeedGeometry(KQVelorin4& host, ZPOpticalFlowUChar& estimator, const GuidedPair& pair);
void FeedGeometry(KQVelorin4& host, ZPMorphFlow& morphFlow, const GuidedPair& pair);

}  // namespace velorin
