#include "bench/timing.h"
#include "support/memory_host.h"

namespace velorin {
namespace {

// A clip of three frames at a quarter of its speed, with the choices of the panel at first use
// but for the interpolation. The host hands out private copies, as hosts do.
std::shared_ptr<MemoryHost> CreateHost(int pixelType, int method) {
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
    return host;
}

// Alternates between two output times: of one pair of source frames, so that its flows are kept,
// or of two pairs, so that none are.
Operation PrepareFrames(int pixelType, int method, float time, float otherTime) {
    const auto host = CreateHost(pixelType, method);
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

void TimeFrames(const std::string& form, int pixelType, int method) {
    Time("engine: full HD frame, first of a pair, " + form,
         [=] { return PrepareFrames(pixelType, method, 1.0f, 5.0f); });
    Time("engine: full HD frame, further one of a pair, " + form,
         [=] { return PrepareFrames(pixelType, method, 1.0f, 1.25f); });
}

bool Register() {
    TimeFrames("8-bit, blend", ZPPixUChar, 1);
    TimeFrames("8-bit, nearest", ZPPixUChar, 0);
    TimeFrames("float, blend", ZPPixFloat, 1);
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
