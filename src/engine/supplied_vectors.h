#pragma once

#include "engine/kq_velorin.h"

namespace velorin {

// One of the two flows of a frame pair, as the host may supply it.
struct SuppliedFlow {
    ZPImage& flow;         // float, 2 channels
    int frame;             // that the flow starts at
    const ZPImage* matte;  // one channel, any picture type: what is known of the flow; may be null
};

// Asks the host for the flow from a frame to the one after it, or to the one before it, and decodes
// it. Pixels without a vector, and those whose matte is not white, take smooth values grown from
// around them. False, and the flow as it was, where the host has none.
//
// Throws ZPErrBadArgument for a coded image of another size than the flow's or of other than four
// channels; a failing host's code; and what progress and memory throw.
bool ImportForwardMotion(KQVelorin4& host, const SuppliedFlow& supplied,
                         KQIdleAndProgressClass& progress);
bool ImportBackwardMotion(KQVelorin4& host, const SuppliedFlow& supplied,
                          KQIdleAndProgressClass& progress);

// Both flows of a pair. Where the host has one of them the other becomes its reverse; where it has
// none both stay as they were.
void ImportVectors(KQVelorin4& host, const SuppliedFlow& back, const SuppliedFlow& forward,
                   KQIdleAndProgressClass& progress);

}  // namespace velorin
