#include "engine/kq_velorin.h"

#include "engine/kq_velorin_internal.h"

namespace velorin {

KQVelorin4::KQVelorin4() = default;

KQVelorin4::~KQVelorin4() {
    delete internal;
    internal = nullptr;
}

int KQVelorin4::GetBackgroundLayerSensitivity(float, float*) {
    return 0;
}
int KQVelorin4::GetLayerSensitivity(float, float*, int) {
    return 0;
}
int KQVelorin4::GetLayerMatteShrink(float, float*, int) {
    return 0;
}
void KQVelorin4::GetDoOpticalFlow(bool* out, int, float) {
    *out = true;
}
void KQVelorin4::GetBackgroundLayerDoOpticalFlow(bool* out, float) {
    *out = true;
}
int KQVelorin4::GetNumGeometries(int, float, float) {
    return 0;
}
int KQVelorin4::GetGeometryPoints(int, unsigned long, float, float, unsigned long*, float**,
                                  float**, float**, float**) {
    return ZPErrNone;
}
void KQVelorin4::ReleasePoints(float*, float*, float*, float*) {}
void KQVelorin4::GetGeometryColor(std::uint8_t* red, std::uint8_t* green, std::uint8_t* blue) {
    *red = *green = *blue = 255;
}
int KQVelorin4::UsesSuppliedVectors() {
    return 0;
}
int KQVelorin4::GetBackwardVectors(KQImage** out, float*, int) {
    *out = nullptr;
    return ZPErrNone;
}
int KQVelorin4::GetForwardVectors(KQImage** out, float*, int) {
    *out = nullptr;
    return ZPErrNone;
}
int KQVelorin4::ReleaseBackwardVectors(KQImage*) {
    return ZPErrNone;
}
int KQVelorin4::ReleaseForwardVectors(KQImage*) {
    return ZPErrNone;
}
int KQVelorin4::GetVectorScaleXY(float*, float*, int) {
    return ZPErrNone;
}
int KQVelorin4::GetCompensate(float, float*) {
    return 0;
}

int KQVelorin4::RenderFrame(KQImage* resultImage, KQImage* secondFieldImage,
                            std::int32_t newInputFields, std::int32_t newOutputFields,
                            std::int32_t newVectorQuality, float outputTime, float nextOutputTime,
                            float newSourceFrameRate, float newOutputFrameRate, float newCompensate,
                            float motionSensitivity, std::int64_t newInterpMethod,
                            std::int64_t newFullDetail, std::int64_t sameClipForTracking,
                            std::int64_t keepFlows, std::int32_t matteLayers,
                            const float* layerShrink, const float* layerSensitivity,
                            KQIdleAndProgressClass* progress, bool imagesAreYCbCr) {
    if (!internal) return 1;
    FrameRequest request;
    request.resultImage = resultImage;
    request.secondFieldImage = secondFieldImage;
    request.inputFields = newInputFields;
    request.outputFields = newOutputFields;
    request.vectorQuality = newVectorQuality;
    request.outputTime = outputTime;
    request.nextOutputTime = nextOutputTime;
    request.sourceFrameRate = newSourceFrameRate;
    request.outputFrameRate = newOutputFrameRate;
    request.compensate = newCompensate;
    request.motionSensitivity = motionSensitivity;
    request.interpMethod = newInterpMethod;
    request.fullDetail = newFullDetail;
    request.sameClipForTracking = sameClipForTracking;
    request.keepFlows = keepFlows;
    request.matteLayers = matteLayers;
    request.layerShrink = layerShrink;
    request.layerSensitivity = layerSensitivity;
    request.progress = progress;
    request.imagesAreYCbCr = imagesAreYCbCr;
    return internal->RenderFrame(*this, request);
}

}  // namespace velorin
