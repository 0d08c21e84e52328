#include "cli/clip_look.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "cli/clip_survey.h"
#include "cli/cut_scorer.h"
#include "cli/fields.h"
#include "cli/job_options.h"
#include "cli/repeats.h"
#include "cli/scene_file.h"
#include "cli/scene_options.h"
#include "cli/setup_text.h"
#include "media/number_ranges.h"

namespace velorin {

namespace {

std::vector<std::int64_t> FramesOf(const std::vector<FoundCut>& cuts) {
    std::vector<std::int64_t> frames;
    for (const FoundCut& cut : cuts) frames.push_back(cut.frame);
    return frames;
}

std::string Counted(std::size_t count, const std::string& thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// Frames with which another scene begins, by the look and by the user.
std::vector<std::int64_t> AllCuts(const std::vector<FoundCut>& found, const SceneMarks& scenes) {
    std::vector<std::int64_t> cuts = FramesOf(found);
    for (const SceneMark& mark : scenes.Marks()) cuts.push_back(mark.frame);
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

void TakeScenes(Options& options, const std::vector<FoundCut>& cuts, ProgressLine& progress) {
    options.scenes = MarksOfCuts(cuts);
    options.setup.text =
        WithFoundScenes(options.setup.text, cuts.empty() ? "0:A" : KeysText(options.scenes));
    progress.Note("--scenes auto: " + (cuts.empty() ? std::string("no cuts")
                                                    : Counted(cuts.size(), "cut") + ", at " +
                                                          NumberRanges(FramesOf(cuts))));
}

void TakeRepeats(Options& options, const ClipSurvey& survey, const std::vector<FoundCut>& cuts,
                 ProgressLine& progress) {
    const std::vector<std::int64_t> repeats =
        RepeatsOf(survey.changes, AllCuts(cuts, options.scenes),
                  options.look.tolerance.value_or(kUsualTolerance));
    const std::string pattern = PatternOf(repeats);
    progress.Note("--dedupe: " + (repeats.empty()
                                      ? std::string("no repeated frames")
                                      : Counted(repeats.size(), "repeated frame") + ", " +
                                            (pattern.empty() ? NumberRanges(repeats) : pattern) +
                                            "; computed from those around"));
    options.look.repeats = repeats;
    if (!repeats.empty()) options.missing = MissingFrames::kInterpolate;
}

}  // namespace

std::unique_ptr<ClipReader> OpenSource(const Options& options) {
    std::unique_ptr<ClipReader> clip = OpenClip(options.input, true);
    CheckHoles(options, clip->Info());
    if (options.look.repeats.empty()) return clip;
    return WithoutFrames(std::move(clip), options.look.repeats);
}

bool NeedsLook(const Options& options) {
    return options.look.findsScenes || options.look.dedupes;
}

std::optional<Options> WithFindings(const Options& given, ProgressLine& progress) {
    Options options = given;
    if (!options.look.sceneFile.empty()) options.scenes = ReadSceneFile(options.look.sceneFile);
    if (!NeedsLook(options)) return options;
    std::unique_ptr<ClipReader> clip = OpenSource(options);
    if (options.look.dedupes && InputFieldsOf(options, clip->Info()) != 0) {
        throw UsageError("--dedupe: needs whole frames and not fields; give --input-fields none");
    }
    progress.Note("looking through " +
                  Counted(static_cast<std::size_t>(clip->Info().frames), "frame") + " of " +
                  clip->Info().name);
    // A report on frames that are looked at is none on frames that are written.
    const bool isJson = options.progress == ProgressStyle::kJson;
    ProgressLine ownProgress(isJson ? ProgressStyle::kNone : options.progress, options.quiet);
    const std::optional<ClipSurvey> survey = SurveyClip(std::move(clip), ownProgress);
    if (!survey) return std::nullopt;
    const std::vector<FoundCut> cuts = CutsOf(survey->cutScores, kUsualThreshold, kUsualMinLength);
    if (options.look.findsScenes) TakeScenes(options, cuts, progress);
    if (options.look.dedupes) TakeRepeats(options, *survey, cuts, progress);
    return options;
}

}  // namespace velorin
