#pragma once

#include "host/spark_api.h"

namespace velorin {

// One request of the host, in the panel's terms: menus by entry, sensitivities out of 100. A menu
// value without an entry counts as 0.
struct FrameValues {
    const spark_info_struct* info = nullptr;
    int frame = 0;  // of the output, from 0
    int interpMethod = 1;
    int vectorQuality = 0;
    float compensate = 0.0f;
    float inputRate = 29.97f;
    int inputFields = 0;
    float outputRate = 29.97f;
    int outputFields = 0;
    int width = 0;
    int height = 0;
    int depth = 0;  // format code
    int useFGMatte = 0;
    int fgMatteChannel = 0;
    float fgMotionSensitivity = 70.0f;
    float fgInvMatteShrink = 0.0f;
    int useAltMotion = 0;
    int cacheResults = 1;
    float motionSensitivity = 70.0f;
};

// Renders one frame into the result buffer, 1; or 0, with `frameBytes` zeros in it. The time menu,
// the stretch and warping methods and the image preparation come from the panel as it stands, the
// time from the host's curves. No exception passes.
int MyGetVelorinedFrame(const FrameValues& values);

}  // namespace velorin
