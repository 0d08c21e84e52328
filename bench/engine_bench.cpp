#include <cmath>

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

// Splits the host's clip into a disc, of a third of the frame, that drifts with it, and the rest.
void AddMattes(MemoryHost& host) {
    static constexpr float kSensitivity = 0.7f;
    static constexpr float kShrink = 1.5f;
    for (std::size_t i = 0; i < host.frames.size(); ++i) {
        auto matte = std::make_unique<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixUChar, 0);
        for (int y = 0; y < kFrameHeight; ++y) {
            std::uint8_t* row = matte->Row<std::uint8_t>(y);
            for (int x = 0; x < kFrameWidth; ++x) {
                const float apart =
                    std::hypot(static_cast<float>(x) - 900.0f - 2.5f * static_cast<float>(i),
                               static_cast<float>(y) - 540.0f);
                row[x] = RoundClamped<std::uint8_t>((470.5f - apart) * 255.0f);
            }
        }
        host.mattes.push_back(std::move(matte));
    }
    host.matteLayers = 1;
    host.layerShrink = &kShrink;
    host.layerSensitivity = &kSensitivity;
    host.drawStart = 1;
}

// Alternates between two output times: of one pair of source frames, so that its flows are kept,
// or of two pairs, so that none are.
Operation PrepareFrames(const std::shared_ptr<MemoryHost>& host, float time, float otherTime) {
    host->Render(time);
    const auto turn = std::make_shared<int>(0);
    return {static_cast<std::int64_t>(kFrameWidth) * kFrameHeight,
            [=] {
                host->asked.clear();
                host->tracked.clear();
                host->mattesAsked.clear();
                if (host->Render(++*turn % 2 ? otherTime : time) != ZPErrNone) std::abort();
            },
            {}};
}

void TimeFrames(const std::string& form, int pixelType, int method, int warping) {
    Time("engine: full HD frame, further one of a pair, " + form,
         [=] { return PrepareFrames(CreateHost(pixelType, method, warping), 1.0f, 1.25f); });
}

void TimeFirstFrames(const std::string& form, int pixelType, int method) {
    Time("engine: full HD frame, first of a pair, " + form,
         [=] { return PrepareFrames(CreateHost(pixelType, method, 0), 1.0f, 5.0f); });
}

void TimeLayers(const std::string& form, int method, int warping, float otherTime) {
    Time("engine: full HD frame, two layers, " + form, [=] {
        const auto host = CreateHost(ZPPixUChar, method, warping);
        AddMattes(*host);
        return PrepareFrames(host, 1.0f, otherTime);
    });
}

// Two passes of an interlaced clip, each between two fields.
void TimeFields(const std::string& form, float otherTime) {
    Time("engine: full HD frame, fields in and out, " + form, [=] {
        const auto host = CreateHost(ZPPixUChar, 1, 0);
        host->inputFieldsAsked = host->outputFieldsAsked = 1;
        return PrepareFrames(host, 1.0f, otherTime);
    });
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
    TimeFields("first of a pair, 8-bit, blend, inverse", 5.0f);
    TimeFields("further one of a pair, 8-bit, blend, inverse", 1.25f);
    TimeLayers("first of a pair, 8-bit, blend, inverse", 1, 0, 5.0f);
    TimeLayers("further one of a pair, 8-bit, nearest, inverse", 0, 0, 1.25f);
    TimeLayers("further one of a pair, 8-bit, blend, inverse", 1, 0, 1.25f);
    TimeLayers("further one of a pair, 8-bit, blend, forward", 1, 2, 1.25f);
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
