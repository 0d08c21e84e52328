#include "cli/forecast.h"

#include <gtest/gtest.h>

#include "cli/curve_text.h"
#include "standalone/thread_pool.h"
#include "support/memory_host.h"

namespace velorin {
namespace {

// Points are asked for once for each flow that is computed, and by kept flows not at all.
class CountingHost final : public MemoryHost {
  public:
    CountingHost() : MemoryHost(DrawClip(8, 24, 18, ZPPixUChar)) {}
    int GetNumGeometries(int, float, float) override { return 1; }
    int GetGeometryPoints(int, unsigned long, float, float, unsigned long* count, float**, float**,
                          float**, float**) override {
        ++flows;
        *count = 0;
        return ZPErrNone;
    }
    int flows = 0;
};

// Whatever way time takes, through cuts, over source frames and back, the flows that the forecast
// announces for a frame are those that the engine computes.
TEST(FlowForecast, CountsWhatTheEngineComputes) {
    UseThreads(1);
    const auto law = FrameCurveLaw(
        ParseCurve("0:0.2,6:0.9,7:1,8:0.6~,16:6.2,17:2.9|,20:3.1,24:2.2,30:2.8,40:7.5",
                   CurveKind::kSourceFrame));
    struct Case {
        int inputFields, outputFields;
        float compensate;
        const char* scenes;
        bool keeps;
    };
    int all = 0;
    for (const Case& c : {Case{0, 0, 0.0f, "0:A", true},
                          {0, 0, 0.0f, "0:A,3:B,5:nearest,6:blend,7:A", true},
                          {1, 0, 0.0f, "0:A,3:B", true},
                          {0, 2, 0.0f, "0:A,3:B", true},
                          {2, 1, 0.0f, "0:A", true},
                          {0, 0, 1.0f, "0:A,4:C", true},
                          {0, 2, 0.0f, "0:A,4:C", false}}) {
        for (const int interp : {0, 1, 2}) {
            RequestSettings request;
            request.inputFields = c.inputFields;
            request.outputFields = c.outputFields;
            request.compensate = c.compensate;
            request.usesVectors = true;
            request.interp = interp;
            request.scenes = ParseSceneMarks(c.scenes);
            CountingHost host;
            host.inputFieldsAsked = c.inputFields;
            host.outputFieldsAsked = c.outputFields;
            host.compensateAsked = c.compensate;
            host.method = interp;
            host.keepFlows = c.keeps ? 1 : 0;
            host.scene = [&](int frame) { return request.scenes.At(frame); };
            FlowForecast forecast(c.keeps);
            for (std::int64_t frame = 0; frame <= 40; ++frame) {
                const auto passes = ForecastOf(*law, frame, request);
                const std::vector<bool> computes = forecast.Next(passes);
                int wanted = 0;
                for (std::size_t i = 0; i < passes.size(); ++i) {
                    if (computes[i]) wanted += passes[i].interp == 0 ? 1 : 2;
                }
                host.timeMap = [&](float time) {
                    return law->At(frame, static_cast<int>(2.0f * time)).After(0);
                };
                host.flows = 0;
                ASSERT_EQ(host.Render(0.0f), ZPErrNone);
                EXPECT_EQ(host.flows, wanted)
                    << "frame " << frame << " interp " << interp << " scenes " << c.scenes;
                all += wanted;
            }
        }
    }
    EXPECT_GT(all, 500);
}

// In reverse the second field comes first, and counts from its own base.
TEST(Forecast, SecondFieldsNeverLieBelowTheBase) {
    const auto law = FrameCurveLaw(ParseCurve("0:4096.25,10:4086.25", CurveKind::kSourceFrame));
    RequestSettings request;
    request.outputFields = 1;
    const auto passes = ForecastOf(*law, 0, request);
    EXPECT_EQ(passes[0].floorFrame, 4096);
    EXPECT_EQ(passes[1].floorFrame, 4095);
    EXPECT_EQ(passes[1].ceilFrame, 4096);
    EXPECT_EQ(passes[1].numbers.floorWeight, 0.25f);
    const auto before = FrameCurveLaw(ParseCurve("0:-0.5", CurveKind::kSourceFrame));
    EXPECT_EQ(ForecastOf(*before, 0, {})[0].floorFrame, -1);
}

}  // namespace
}  // namespace velorin
