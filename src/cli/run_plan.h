#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/forecast.h"
#include "cli/options.h"
#include "cli/time_law.h"
#include "cli/time_options.h"
#include "media/clip.h"

namespace velorin {

class PictureStream;

// What a run will do, worked out and checked before anything is written.
struct RunPlan {
    ClipInfo source;
    std::unique_ptr<TimeLaw> law;
    LawFacts lawFacts;
    // Output frames whose source time lies outside the clip, where its ends hold, and the first.
    std::int64_t outside = 0;
    std::int64_t firstOutside = 0;
    RequestSettings request;
    // The source comes through a pipe: the frames to render are those asked for, one by one.
    bool isOpen = false;
    std::vector<FrameRange> asked;          // empty: all of them
    std::shared_ptr<PictureStream> stream;  // while it runs
    std::int64_t length = 0;  // output frames of the whole clip; kFramesUnknown where it says so
    std::vector<std::int64_t> frames;  // those to render, ascending; none of an open plan
    bool framesLeftOut = false;        // some were asked for that lie past the end
    SampleDepth depth = SampleDepth::kByte;
    int firstNumber = 0;
    std::int64_t onFrame = 0;  // frames that are source frames or fields as they stand
    std::int64_t pairs = 0;    // pairs of these that motion is estimated between
    int flowWidth = 0;         // size at which it is estimated
    int flowHeight = 0;

    // Of a source that comes through a pipe, kFramesUnknown before its end is seen. Any thread.
    std::int64_t SourceFrames() const;
};

// The source frames inside the clip that an output frame is made of.
SourceFrames SourceFramesOf(const RunPlan& plan, std::int64_t outputFrame);

// Throws MediaError of kind kInput for a clip whose frames are too small or too large.
void CheckSize(const ClipInfo& source);

// DepthForOutput. Throws UsageError for the name of a single picture or of another kind of file.
SampleDepth HeldDepth(const std::string& output, SampleDepth wanted);

// Throws UsageError unless `name`, given with `option`, is that of one picture of 8 bits.
void CheckPictureName(const std::string& option, const std::string& name);

// What the engine is asked for beside the time.
RequestSettings RequestFor(const Options& options, const ClipInfo& source);

// Counts the output frame where its source time lies outside the clip.
void CountOutside(RunPlan& plan, std::int64_t outputFrame);

// What there is to know of a run before its output: the clip, the law, frames and motion. Throws as
// MakePlan does, but for options of the output.
RunPlan MakeTimePlan(const Options& options, const ClipInfo& source);

// Throws UsageError for options that do not fit the clip, and MediaError of kind kInput for a clip
// whose frames are too small or too large.
RunPlan MakePlan(const Options& options, const ClipInfo& source);

// Narrows a plan to these of its frames.
void KeepFrames(RunPlan& plan, std::vector<std::int64_t> frames, const Options& options);

// The plan of a contact sheet: output frame 0 alone, which shows the time `options.at`, in 8 bits.
// Throws as MakePlan does.
RunPlan MakeSheetPlan(const Options& options, const ClipInfo& source);

// A run of `velorin vectors`: the plan's output frame k lies half-way between source frames k and
// k + 1, and its frames are those whose motion is measured.
struct VectorsPlan {
    RunPlan run;
    std::vector<std::int64_t> files;  // the frames whose vectors are written, ascending
};

// Throws as MakePlan does.
VectorsPlan MakeVectorsPlan(const Options& options, const ClipInfo& source);

// The plan in a few lines, for the user who wants to know.
std::string Describe(const RunPlan& plan, const Options& options, int threads);

}  // namespace velorin
