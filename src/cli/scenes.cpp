#include "cli/scenes.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "cli/clip_survey.h"
#include "cli/cut_scorer.h"
#include "cli/exit_codes.h"
#include "cli/frame_renderer.h"
#include "cli/progress_line.h"
#include "cli/scene_file.h"
#include "cli/stop_request.h"
#include "cli/time_law.h"
#include "media/safe_file.h"

namespace velorin {

namespace {

// A run of frames from one cut to the next.
struct Scene {
    std::int64_t first = 0;
    std::int64_t last = 0;
    float score = 0.0f;  // of the cut that it begins with
};

std::vector<Scene> ScenesBetween(const std::vector<FoundCut>& cuts, std::int64_t frames) {
    std::vector<Scene> scenes{{0, frames - 1, 0.0f}};
    for (const FoundCut& cut : cuts) {
        scenes.back().last = cut.frame - 1;
        scenes.push_back({cut.frame, frames - 1, cut.score});
    }
    return scenes;
}

std::string ScoreText(double score) {
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", score);
    return text;
}

void PrintTable(const std::vector<Scene>& scenes) {
    std::printf("%6s %9s %9s %9s  %s\n", "SCENE", "FIRST", "LAST", "LENGTH", "SCORE");
    int number = 0;
    for (const Scene& scene : scenes) {
        std::printf("%6d %9lld %9lld %9lld  %5s\n", ++number, static_cast<long long>(scene.first),
                    static_cast<long long>(scene.last),
                    static_cast<long long>(scene.last - scene.first + 1),
                    scene.first == 0 ? "-" : ScoreText(static_cast<double>(scene.score)).c_str());
    }
}

void PrintScores(const std::vector<float>& scores, const std::vector<Scene>& scenes) {
    std::printf("\n%9s  %5s\n", "FRAME", "SCORE");
    std::size_t next = 1;
    for (std::size_t frame = 0; frame < scores.size(); ++frame) {
        const bool isCut =
            next < scenes.size() && scenes[next].first == static_cast<std::int64_t>(frame);
        if (isCut) ++next;
        std::printf("%9zu  %5s%s\n", frame, ScoreText(static_cast<double>(scores[frame])).c_str(),
                    isCut ? "  cut" : "");
    }
}

void PrintJson(const Options& options, float threshold, const std::vector<Scene>& scenes,
               const std::vector<float>& scores) {
    std::printf("{\n  \"input\": %s,\n  \"frames\": %zu,\n  \"threshold\": %s,\n  \"cuts\": [",
                JsonString(options.input).c_str(), scores.size(), NumberText(threshold).c_str());
    for (std::size_t i = 1; i < scenes.size(); ++i) {
        std::printf("%s%lld", i > 1 ? ", " : "", static_cast<long long>(scenes[i].first));
    }
    std::printf("],\n  \"scenes\": [");
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        const Scene& scene = scenes[i];
        std::printf("%s\n    {\"first\": %lld, \"last\": %lld, \"length\": %lld, \"score\": %s}",
                    i > 0 ? "," : "", static_cast<long long>(scene.first),
                    static_cast<long long>(scene.last),
                    static_cast<long long>(scene.last - scene.first + 1),
                    i > 0 ? ScoreText(static_cast<double>(scene.score)).c_str() : "null");
    }
    std::printf("\n  ],\n  \"scores\": [");
    for (std::size_t frame = 0; frame < scores.size(); ++frame) {
        std::printf("%s%s", frame > 0 ? ", " : "",
                    ScoreText(static_cast<double>(scores[frame])).c_str());
    }
    std::puts("]\n}");
}

void WriteSceneFile(const Options& options, float threshold, const std::vector<FoundCut>& cuts) {
    const std::string about = "Written by velorin " VELORIN_VERSION " for " +
                              JsonString(options.input) + ": cuts that score " +
                              NumberText(threshold) + " of 100 or more.";
    SafeFile file(options.output, options.overwrite);
    std::ofstream stream(file.TemporaryName(), std::ios::binary);
    stream << SceneFileText(cuts, about);
    stream.close();
    if (!stream) throw WriteFailure(options.output, errno);
    file.Commit();
}

}  // namespace

int Scenes(const Options& options) {
    WatchForStop();
    StartThreads(options);
    std::unique_ptr<ClipReader> clip = OpenClip(options.input, true);
    const std::int64_t frames = clip->Info().frames;
    if (!options.output.empty()) CheckTarget(options.output, options.overwrite);
    ProgressLine progress(options.progress, options.quiet);
    const std::optional<ClipSurvey> survey = SurveyClip(std::move(clip), progress);
    if (!survey) {
        progress.Stopped(StopRequested(), "stopped on request; no scenes are told");
        return StopRequested();
    }
    progress.Finish();
    const float threshold = options.look.threshold.value_or(kUsualThreshold);
    const std::vector<FoundCut> cuts =
        CutsOf(survey->cutScores, threshold, options.look.minLength.value_or(kUsualMinLength));
    if (!options.output.empty()) WriteSceneFile(options, threshold, cuts);
    const std::vector<Scene> scenes = ScenesBetween(cuts, frames);
    if (options.json) {
        PrintJson(options, threshold, scenes, survey->cutScores);
        return kExitDone;
    }
    PrintTable(scenes);
    if (options.look.tellsScores) PrintScores(survey->cutScores, scenes);
    progress.Note(
        std::to_string(cuts.size()) +
        (cuts.size() == 1 ? " cut that scores " : " cuts that score ") + NumberText(threshold) +
        " of 100 or more; --threshold changes this" +
        (options.look.tellsScores ? "" : ", and --scores tells the score of every frame"));
    return kExitDone;
}

}  // namespace velorin
