#include "image/progress.h"

#include <gtest/gtest.h>

#include "image/err.h"

namespace velorin {
namespace {

TEST(Progress, ChildIsPlacedByTheParentsRange) {
    KQIdleAndProgressClass top(nullptr);
    KQIdleAndProgressClass middle(&top);
    KQIdleAndProgressClass child(&middle);
    middle.SetRange(0.5f, 1.0f);
    child.SetRange(0.9f, 0.9f);  // places the child's own children, not itself
    child.ReportProgress(0.5f);
    EXPECT_EQ(child.lastFraction, 0.5f);
    EXPECT_EQ(middle.lastFraction, 0.75f);
    EXPECT_EQ(top.lastFraction, 0.75f);
    middle.CollapseRange();
    child.ReportProgress(0.9f);
    EXPECT_EQ(middle.lastFraction, 0.75f);
    top.lastFraction = 0.0f;
    child.Tick();
    EXPECT_EQ(child.lastFraction, 0.9f);
    EXPECT_EQ(top.lastFraction, 0.75f);
}

TEST(Progress, InterruptedThrowsBeforeTheParentIsTold) {
    KQIdleAndProgressClass parent(nullptr);
    KQIdleAndProgressClass child(&parent);
    child.interrupted = 1;
    EXPECT_THROW(child.ReportProgress(0.5f), ZPErr);
    EXPECT_EQ(child.lastFraction, 0.5f);
    EXPECT_EQ(parent.lastFraction, 0.0f);
}

TEST(Progress, OneWorkerReportsAndTheFlagStopsTheOthers) {
    KQIdleAndProgressClass top(nullptr);
    std::atomic<std::int32_t> stop{0};
    KQIldeAndProgressMPInterruptible reporter(&top, true, &stop);
    KQIldeAndProgressMPInterruptible checker(&top, false, &stop);
    checker.ReportProgress(0.75f);
    EXPECT_EQ(top.lastFraction, 0.0f);
    reporter.ReportProgress(0.25f);
    EXPECT_EQ(top.lastFraction, 0.25f);

    top.interrupted = 1;
    EXPECT_THROW(reporter.ReportProgress(0.5f), ZPErr);
    EXPECT_EQ(stop, 1);
    EXPECT_THROW(checker.ReportProgress(0.5f), ZPErr);
    // Once the flag is up the reporter itself stays silent.
    EXPECT_NO_THROW(reporter.ReportProgress(0.75f));
    EXPECT_EQ(top.lastFraction, 0.5f);
}

}  // namespace
}  // namespace velorin
