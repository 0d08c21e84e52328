#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cli/clip_host.h"
#include "cli/layer_clips.h"
#include "cli/options.h"
#include "cli/run_plan.h"
#include "media/clip.h"

namespace velorin {

// What the pixels of a run's output frames depend on, told by a few digits: the options that have a
// say in them, the source time, the files of the frames that are read for it, the points of guide
// files at these, and the rules of this program. Not: names and folders of the output, which other
// frames are rendered, what is kept between frames, reports. The number of threads counts where the
// rules of the warps let it show.
class Fingerprints {
  public:
    // Looks at the files now, before any is read: what changes later shows as another fingerprint.
    // `options` and `plan` outlive this.
    Fingerprints(const Options& newOptions, const RunPlan& newPlan, const RunClips& clips,
                 std::vector<LayerGuides> newGuides, int newThreads);

    // The stamp of an output frame of the plan. From any thread.
    Stamp Of(std::int64_t frame) const;
    // That of a movie of all frames.
    Stamp OfMovie() const;

  private:
    struct ReadClip {
        ClipRole role;
        int number;  // among the mattes
        std::string name;
        std::string content;  // what is read of the files, where that is not settled by the format
        std::map<std::int64_t, std::string> files;  // identity by frame
    };
    void AddClip(ClipRole role, int number, const ClipReader* clip);
    void TellFrame(std::string& text, const ReadClip& clip, std::int64_t frame) const;
    void TellGuides(std::string& text, const PassForecast& pass) const;
    std::string JobText() const;

    const Options& options;
    const RunPlan& plan;
    std::vector<LayerGuides> guides;
    int threads;
    std::vector<ReadClip> clips;
    std::string settings;
    std::string job;
};

// The part that is the same for all frames, as text, of options whose lists are complete.
std::string SettingsText(const Options& options, const RunPlan& plan);

}  // namespace velorin
