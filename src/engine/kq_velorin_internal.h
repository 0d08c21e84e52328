#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "engine/frame_choice.h"
#include "engine/kq_velorin.h"
#include "flow/morph_flow.h"
#include "flow/optical_flow.h"

namespace velorin {

// Matte layers of a request at most, and all layers with the background, which comes last.
inline constexpr int kMaxMatteLayers = 9;
inline constexpr int kMaxLayers = kMaxMatteLayers + 1;

// The parameters of KQVelorin4::RenderFrame, which tells what they mean.
struct FrameRequest {
    KQImage* resultImage = nullptr;
    KQImage* secondFieldImage = nullptr;
    std::int32_t inputFields = 0;
    std::int32_t outputFields = 0;
    std::int32_t vectorQuality = 0;
    float outputTime = 0.0f;
    float nextOutputTime = 0.0f;
    float sourceFrameRate = 0.0f;
    float outputFrameRate = 0.0f;
    float compensate = 0.0f;
    float motionSensitivity = 0.0f;
    std::int64_t interpMethod = 0;
    std::int64_t fullDetail = 1;
    std::int64_t sameClipForTracking = 1;
    std::int64_t keepFlows = 0;
    std::int32_t matteLayers = 0;
    const float* layerShrink = nullptr;
    const float* layerSensitivity = nullptr;
    KQIdleAndProgressClass* progress = nullptr;
    bool imagesAreYCbCr = false;
};

// All that a kept flow depends on besides its two frames. Floats are compared exactly, so that a
// NaN counts as a change; entries of layers that a request does not have are 0.
struct FlowSettings {
    std::int64_t interpMethod = 0;
    std::int32_t vectorQuality = 0;
    std::int32_t warpingMethod = 0;
    std::int32_t layerCount = 0;
    std::int32_t reductionSteps = 0;
    std::int32_t inputFields = 0;
    std::int32_t outputFields = 0;
    float sourceFrameRate = 0.0f;
    float outputFrameRate = 0.0f;
    std::int32_t drawStart = 0;
    std::int32_t drawEnd = 0;
    bool enhance = false;
    std::array<float, kMaxLayers> layerSensitivity{};
    std::array<float, kMaxLayers> layerShrink{};
    std::array<bool, kMaxLayers> layerUsesOpticalFlow{};
    // A kept flow never belongs to another picture.
    std::int64_t sameClipForTracking = 1;
    bool imagesAreYCbCr = false;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t pixelType = 0;

    bool operator==(const FlowSettings&) const = default;
};

struct LayerSide;
struct LayerWork;
struct RenderPass;

// The render itself, and what lives from one request to the next: the flows of the last frame pair,
// the estimator and the morph flow.
class KQVelorin4Internal : public KQMem {
  public:
    KQVelorin4Internal() = default;
    virtual ~KQVelorin4Internal();

    KQVelorin4Internal(const KQVelorin4Internal&) = delete;
    KQVelorin4Internal& operator=(const KQVelorin4Internal&) = delete;

    // KQVelorin4::RenderFrame on behalf of `host`.
    int RenderFrame(KQVelorin4& host, const FrameRequest& request);

    // The flow of a layer that was rendered, until the next request or the release: the flow of
    // Nearest, or that from the earlier frame of the pair to the later one; null where there is
    // none. Without matte layers the one layer is 0.
    ZPImage* LayerFlowA(int layer) const;

    // Frees the kept flows, the estimator and the morph flow. Allowed at any time between requests.
    void ReleaseFlows();

    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t layerCount = 0;
    std::int64_t interpMethod = 0;
    std::int32_t reductionSteps = 0;
    std::int32_t vectorQuality = 0;
    std::int32_t warpingMethod = 0;
    std::int32_t flowWidth = 0;
    std::int32_t flowHeight = 0;
    std::unique_ptr<ZPOpticalFlowUChar> opticalFlow;  // of the layers that it tracks
    std::unique_ptr<ZPMorphFlow> morphFlow;           // of those that follow guide points alone
    // Later frame of the pair to the earlier one, in a single-layer render; or what all layers
    // share in a render that keeps nothing.
    std::unique_ptr<ZPImage> backFlow;
    // Earlier to later; borrowed from the estimator, the morph flow or the supplied flow.
    ZPImage* forwardFlow = nullptr;
    std::unique_ptr<ZPImage> suppliedForward;  // of the frame's own size, as backFlow is then
    // Kept flows of layers: A as LayerFlowA tells, B from the later frame of the pair to the
    // earlier one. The first of A stays null, since the estimator or the morph flow holds it.
    std::array<std::unique_ptr<ZPImage>, kMaxLayers> layerFlowA;
    std::array<std::unique_ptr<ZPImage>, kMaxLayers> layerFlowB;
    FlowPair flowPair;  // of the last pass, whether it needed flows or not
    FlowSettings previous;
    std::array<bool, kMaxLayers> layerUsesOpticalFlow{};
    bool anyGeometry = false;  // whether the last request had guide points on any layer

  private:
    // render_frame.cpp
    void RenderPasses(RenderPass& pass);
    void RenderOnePass(RenderPass& pass);
    bool DrawsAllLayers(const RenderPass& pass) const;
    // frame_pair.cpp
    void ChooseMethod(RenderPass& pass);
    void AskOverrides(RenderPass& pass);
    void SelectFramePair(RenderPass& pass);
    // kept_flows.cpp
    void UpdateFormat(RenderPass& pass);
    FlowSettings CurrentSettings(const RenderPass& pass) const;
    void DropChangedFlows(RenderPass& pass);
    // direct_path.cpp
    void RenderDirect(RenderPass& pass);
    // flow_sources.cpp
    void PrepareFlowObject(RenderPass& pass, int layer, bool masked);
    void EnsureFlowObject(RenderPass& pass, int layer, bool masked);
    ZPImage* HeldFlow(int layer) const;
    void FeedGuides(RenderPass& pass, int layer, bool fromFloor);
    void ImportFlows(RenderPass& pass, const ZPImage* floorMatte, const ZPImage* ceilMatte);
    bool FlowStartsAtFloor(const RenderPass& pass) const;
    ZPImage& NearestFlow(const RenderPass& pass, int layer) const;
    // single_layer.cpp
    void RenderSingleLayer(RenderPass& pass);
    void ObtainFrameFlows(RenderPass& pass);
    void ComputeFrameFlow(RenderPass& pass, ZPImage* dest, bool fromFloor);
    void ReverseFrameFlow(RenderPass& pass);
    void ComputeBothFlows(RenderPass& pass);
    void WarpNearest(RenderPass& pass);
    void WarpBoth(RenderPass& pass);
    void CompensateFrame(RenderPass& pass);
    // layered.cpp
    void RenderLayers(RenderPass& pass);
    void RenderLayer(RenderPass& pass, LayerWork& work, int layer);
    // layer_flows.cpp
    void PrepareLayerFlows(std::int64_t keepFlows);
    ZPImage* LayerFlowB(int layer) const;
    void ComputeLayerFlows(RenderPass& pass, LayerWork& work, int layer);
    void ComputeLayerFlow(ZPImage* dest, RenderPass& pass, LayerWork& work, int layer,
                          bool fromFloor);
    void ReverseLayerFlow(ZPImage* dest, RenderPass& pass, LayerWork& work, int layer,
                          bool fromFloor);
    // layer_picture.cpp
    ZPImage& BuildNearestLayer(RenderPass& pass, LayerWork& work, int layer, bool moves);
    void FillFromEachOther(RenderPass& pass, LayerWork& work, int layer, bool moves);
    ZPImage& BuildMixedLayer(RenderPass& pass, LayerWork& work, int layer, bool moves);
};

}  // namespace velorin
