#pragma once

#include "cli/clip_host.h"
#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"

namespace velorin {

// The curve by which samples proportional to light become about as far apart as the eye sees them:
// log2(1 + 1023 / 16 * light) / 10. 0 stays 0, 0.18 becomes 0.36, 1 becomes 0.60 and 16 becomes 1;
// below 0 it is mirrored. The same on every processor.
float CompressedTone(float light);

// Takes a picture's colours through the curve; its alpha stays. Samples of 8 and 16 bits are
// stretched so that white stays white.
void CompressTones(Picture& picture);

// Whether motion is measured on pictures with compressed tones, by --motion-transfer.
bool CompressesTones(const Options& options, const RunClips& clips);

// Says where the option changes nothing, and where scene-linear pictures go without it.
void NoteMotionTransfer(const Options& options, const RunPlan& plan, const RunClips& clips,
                        ProgressLine& progress);

}  // namespace velorin
