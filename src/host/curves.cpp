#include "host/my_velorin.h"
#include "host/panel.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// Sums the speed of every output frame before `outputTime`, each at the value it begins with.
float TimeBySpeedCurve(float outputTime) {
    const int frames = Truncate(outputTime);
    const float fraction = outputTime - static_cast<float>(frames);
    float time = 0.0f;
    for (int i = 1; i <= frames; ++i) {
        time += sparkGetCurveValuef(kPage, kSpeedControl, static_cast<float>(i));
    }
    return time +
           sparkGetCurveValuef(kPage, kSpeedControl, static_cast<float>(frames + 1)) * fraction;
}

float TimeByConstantSpeed(float outputTime, float speed) {
    const int frames = Truncate(outputTime);
    const float fraction = outputTime - static_cast<float>(frames);
    float time = 0.0f;
    for (int i = 1; i <= frames; ++i) {
        time += speed;
        // On purpose once a frame and not once: 5.5 becomes 7.5.
        time += fraction * speed;
    }
    return time;
}

}  // namespace

int MyVelorin::MyGetKeyFramedTimeParameter(float outputTime, float* out) {
    if (!out) return ZPErrBadArgument;
    *out = 0.0f;
    if (!request.info) return ZPErrNone;
    if (request.info->mode == kSparkBatch) {
        *out = TimeByConstantSpeed(outputTime, request.constantSpeed);
    } else if (request.info->mode == kSparkInteractive) {
        if (request.stretchMethod == StretchKeyFramed) {
            // The curve's frames and its values count from 1.
            *out = sparkGetCurveValuef(kPage, kFrameControl, outputTime + 1.0f) - 1.0f;
        } else if (request.stretchMethod == StretchSpeed) {
            *out = TimeBySpeedCurve(outputTime);
        }
    }
    return ZPErrNone;
}

int MyVelorin::WhichScene(float frame) {
    if (!request.info || request.info->mode == kSparkBatch) return 0;
    const int code = Truncate(sparkGetCurveValue(kPage, kSceneControl, Truncate(frame + 1.0f)));
    return code >= 2 && code <= 5 ? code - 1 : 0;
}

}  // namespace velorin
