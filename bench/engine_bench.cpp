#include "bench/timing.h"
#include "support/memory_host.h"

namespace velorin {
namespace {

// A clip of three frames at a quarter of its speed, with the choices of the panel at first use
// but for the methods. The host hands out private copies, as hosts do.
std::shared_ptr<MemoryHost> CreateHost(int pixelType, int method, int warping) {
    std::vector<std::unique_ptr<ZPImage>> frames;
    for (int i = 0; i < 3; ++i) {
        const ZPImage& drawn = DrawnFrame(pixelType, i);
        frames.push_back(
            std::make_unique<ZPImage>(drawn.width, drawn.height, 4, drawn.pixelType, 0));
        CopyExact(frames.back().get(), &drawn);
    }
    auto host = std::make_shared<MemoryHost>(std::move(frames));
    host->timeMap = [](float time) { return time * 0.25f; };
    host->method = method;
    host->warping = warping;
    return host;
}

// Alternates between two output times: of one pair of source frames, so that its flows are kept,
// or of two pairs, so that none are.
Operation PrepareFrames(int pixelType, int method, int warping, float time, float otherTime) {
    const auto host = CreateHost(pixelType, method, warping);
    host->Render(time);
    const auto turn = std::make_shared<int>(0);
    return {static_cast<std::int64_t>(kFrameWidth) * kFrameHeight,
            [=] {
                host->asked.clear();
                host->tracked.clear();
                if (host->Render(++*turn % 2 ? otherTime : time) != ZPErrNone) std::abort();
            },
            {}};
}

void TimeFrames(const std::string& form, int pixelType, int method, int warping) {
    Time("engine: full HD frame, further one of a pair, " + form,
         [=] { return PrepareFrames(pixelType, method, warping, 1.0f, 1.25f); });
}

void TimeFirstFrames(const std::string& form, int pixelType, int method) {
    Time("engine: full HD frame, first of a pair, " + form,
         [=] { return PrepareFrames(pixelType, method, 0, 1.0f, 5.0f); });
}

bool Register() {
    TimeFirstFrames("8-bit, blend", ZPPixUChar, 1);
    TimeFirstFrames("8-bit, nearest", ZPPixUChar, 0);
    TimeFirstFrames("float, blend", ZPPixFloat, 1);
    static constexpr const char* kMethods[] = {"nearest", "blend", "energy"};
    static constexpr const char* kWarpings[] = {"inverse", "smart", "forward"};
    for (int method = 0; method < 3; ++method) {
        for (int warping = 0; warping < 3; ++warping) {
            TimeFrames(std::string("8-bit, ") + kMethods[method] + ", " + kWarpings[warping],
                       ZPPixUChar, method, warping);
        }
    }
    TimeFrames("float, blend, inverse", ZPPixFloat, 1, 0);
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
