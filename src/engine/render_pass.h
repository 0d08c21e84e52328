#pragma once

#include <array>
#include <cmath>

#include "engine/frame_checkout.h"
#include "engine/kq_velorin_internal.h"

namespace velorin {

// One request under way: the choices made for it, and the values of its current pass.
struct RenderPass {
    RenderPass(KQVelorin4& newHost, const FrameRequest& newRequest)
        : host(newHost),
          request(newRequest),
          progress(newRequest.progress),
          frames(newHost, newRequest.inputFields) {}

    // The images inside the result handles.
    const ZPImage& Sample() const { return *target[0]; }
    ZPImage& Target() { return *target[pass]; }
    // A working image of the result's size and form.
    std::unique_ptr<ZPImage> CreateWorkingImage() const {
        const ZPImage& sample = Sample();
        return std::make_unique<ZPImage>(sample.width, sample.height, sample.channels,
                                         sample.pixelType, 0);
    }

    // Divides this pass's part of the bar among so many stages; each next one moves its own.
    void StartStages(int count) {
        stage = 0;
        stages = count;
    }
    // Of one layer: a flow each, or the import of what the host supplies.
    int FlowStages() const { return interpMethod == 0 || hostVectors == 1 ? 1 : 2; }
    void NextStage() {
        const float total = static_cast<float>(stages * passCount);
        const float done = static_cast<float>(stages * pass + stage++);
        progress.SetRange(done / total, (done + 1.0f) / total);
    }

    // One byte a pixel, of the result's size; null where none is needed.
    std::unique_ptr<ZPImage> CreateCoverage(bool needed) const {
        if (!needed) return nullptr;
        return std::make_unique<ZPImage>(Sample().width, Sample().height, 1, ZPPixUChar, 0);
    }
    // Throws ZPErrBadArgument unless both warped frames have the result's channels: what copies a
    // whole frame takes any size and type, but walks both images by one channel count.
    void RequireChannels() const {
        for (const ZPImage* frame : {&frames.WarpedFloor(), &frames.WarpedCeil()}) {
            if (frame->channels != Sample().channels) throw ZPErrBadArgument;
        }
    }

    // How far the source advances in one output step: in frames, or in fields of the input.
    float TimeStep() const { return std::fabs(sourceTime - nextSourceTime); }
    // Whether motion blur is to fit the speed, and by how much of the flow: none at the source's
    // own speed, sharpened below it.
    bool CompensatesBlur() const {
        return static_cast<double>(TimeStep()) > 1e-06 &&
               static_cast<double>(host.compensate) > 0.005;
    }
    float BlurAmount() const { return (TimeStep() - 1.0f) * host.compensate; }
    bool TracksOtherClip() const { return request.sameClipForTracking == 0; }

    KQVelorin4& host;
    const FrameRequest& request;
    KQIdleAndProgressClass progress;

    // Of the request, as the scenes allow.
    std::int32_t vectorQuality = 0;
    std::int64_t interpMethod = 0;
    std::int64_t keepFlows = 0;
    int hostVectors = 0;
    float requestTime = 0.0f;      // source time of the output time
    float nextRequestTime = 0.0f;  // and of the next one
    std::array<float, kMaxLayers> layerSensitivity{};
    std::array<float, kMaxLayers> layerShrink{};
    float compensateStart = 0.0f;
    std::array<ZPImage*, 2> target{};
    int passCount = 1;
    float passStep = 1.0f;

    // Of the pass.
    int pass = 0;
    float sourceTime = 0.0f;  // in frames; in fields where the input has them
    float nextSourceTime = 0.0f;
    std::int32_t floorFrame = 0;
    std::int32_t ceilFrame = 0;
    float floorWeight = 0.0f;  // share of the floor frame
    bool hasGeometry = false;  // once some layer has guide points
    bool onFrame = true;       // only ever cleared within a request
    bool needFlows = false;
    int stage = 0;
    int stages = 1;
    HeldFrames frames;
};

}  // namespace velorin
