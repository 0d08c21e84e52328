#include <cstring>

#include "host/panel.h"
#include "image/rounding.h"

namespace velorin {

namespace {

void SetAvailable(int control, bool available) {
    if (available) {
        sparkEnableParameter(kPage, control);
    } else {
        sparkDisableParameter(kPage, control);
    }
}

void* RenderView(const spark_info_struct& info) {
    SparkProcessStart(info);
    void* result = SparkProcess(info);
    sparkViewingDraw();
    return result;
}

bool IsRenderNode() {
    const char* name = sparkProgramGetName();
    return name && std::strcmp(name, "burn") == 0;
}

// Keys the frames from the current one on that hold the scene `old`, up to the first that does not.
void LabelRun(const spark_info_struct& info, int old, int cut) {
    for (std::int64_t f = std::int64_t{info.frameNumber} + 1; f <= info.clipLength; ++f) {
        const int frame = static_cast<int>(f);
        if (Truncate(sparkGetCurveValue(kPage, kSceneControl, frame)) != old) return;
        sparkSetCurveKeyf(kPage, kSceneControl, static_cast<float>(frame), static_cast<float>(cut));
    }
}

// All but the warping method and the image preparation, which stay as they are.
void ResetValues() {
    SparkBoolean36.Value = 0;
    SparkPup13.Value = 1;
    SparkPup27.Value = 1;
    SparkPup28.Value = 4;
    SparkPup31.Value = 1;
    SparkPup16.Value = 0;
    SparkPup17.Value = 0;
    SparkPup43.Value = 0;
    SparkBoolean18.Value = 0;
    SparkFloat42.Value = 0.0f;
    SparkFloat32.Value = 1.0f;
    SparkFloat44.Value = 70.0f;
    SparkBoolean19.Value = 1;
    SparkFloat26.Value = 70.0f;
    SparkFloat25.Value = 1.0f;
    SparkFloat45.Value = 0.0f;
}

void ClearCuts(std::uint32_t clipLength) {
    sparkChClear(kPage, kSceneControl);
    for (std::int64_t f = 0; f <= clipLength; ++f) {
        sparkSetCurveKeyf(kPage, kSceneControl, static_cast<float>(f), 1.0f);
    }
}

}  // namespace

void setMaskControls() {
    // 46 is not on the panel; the host is told of it all the same.
    for (const int control : {45, 44, 43, 46}) SetAvailable(control, SparkBoolean36.Value == 1);
}

void setSourceTimeControls() {
    // On purpose not the other way around: scenes are marked while the source is shown.
    for (const int control : {kCutMenuControl, kSceneControl}) {
        SetAvailable(control, SparkPup13.Value == 0);
    }
}

void setFrameSpeed() {
    const bool bySpeed = SparkPup31.Value == 1;
    SetAvailable(bySpeed ? kSpeedControl : kFrameControl, true);
    SetAvailable(bySpeed ? kFrameControl : kSpeedControl, false);
}

}  // namespace velorin

extern "C" {

void* sparkCallback(int code, spark_info_struct info) {
    return code == kSparkControlChanged ? velorin::RenderView(info) : nullptr;
}

void* sparkAltMotionCallback(int code, spark_info_struct info) {
    return sparkCallback(code, info);
}

void* sparkTimeCallback(int code, spark_info_struct info) {
    if (code == kSparkControlChanged) velorin::setSourceTimeControls();
    return sparkCallback(code, info);
}

void* sparkFGMaskCallback(int code, spark_info_struct info) {
    if (code == kSparkControlChanged) velorin::setMaskControls();
    return sparkCallback(code, info);
}

void* sparkFrameSpeedInteract(int code, spark_info_struct info) {
    velorin::setFrameSpeed();
    return sparkCallback(code, info);
}

void* sparkSceneCutCallback(int code, spark_info_struct info) {
    if (velorin::IsRenderNode() || code != kSparkControlChanged) return nullptr;
    const int cut = SparkPup14.Value;
    if (cut == 0) return nullptr;
    SparkPup14.Value = 0;
    if (cut >= 1 && cut <= 5) {
        velorin::LabelRun(info, SparkInt15.Value, cut);
        sparkControlUpdate(velorin::kSceneControl);
    }
    sparkControlUpdate(velorin::kCutMenuControl);
    return nullptr;
}

void* sparkResetCallback(int code, spark_info_struct info) {
    velorin::ResetValues();
    velorin::ClearCuts(info.clipLength);
    velorin::setMaskControls();
    velorin::setFrameSpeed();
    velorin::setSourceTimeControls();
    return sparkCallback(code, info);
}
}
