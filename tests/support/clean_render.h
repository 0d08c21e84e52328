#pragma once

#include "support/failing_allocator.h"
#include "support/memory_host.h"

namespace velorin {

// Renders half-way between two frames once for each allocation, which fails. Expects each time that
// nothing stays checked out, kept or allocated, and answers how many renders succeeded all the
// same; one is that in which nothing failed any more.
inline int CountSurvivingRenders(MemoryHost& host) {
    int code = ZPErrNone;
    int survived = 0;
    const auto render = [&] {
        try {
            code = host.Render(0.5f);
        } catch (ZPErr failure) {
            code = failure;  // the test's own result image
        }
        EXPECT_EQ(host.held, 0);
        const KQVelorin4Internal& kept = *host.internal;
        EXPECT_TRUE(code == ZPErrNone || !(kept.opticalFlow || kept.backFlow ||
                                           kept.layerFlowA[1] || kept.layerFlowB[0]));
        host.mattesAsked.clear();
        host.internal->ReleaseFlows();
        host.result.reset();
    };
    FailEachAllocation(render, [&](bool, int live) {
        survived += code == ZPErrNone ? 1 : 0;
        EXPECT_EQ(live, 0);
    });
    return survived;
}

}  // namespace velorin
