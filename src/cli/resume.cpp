#include "cli/resume.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/stop_request.h"
#include "media/finished_frames.h"
#include "media/safe_file.h"
#include "media/still_format.h"

namespace velorin {

namespace {

namespace fs = std::filesystem;

std::string FramesText(std::int64_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

// What was found of the plan's frames.
struct Findings {
    std::vector<std::int64_t> wanting;
    std::int64_t kept = 0;
    std::int64_t otherwise = 0;  // there, but made in another way
    std::int64_t damaged = 0;
};

// What does not open as a picture bears no stamp either.
void LookAtFrame(std::int64_t frame, const RunPlan& plan, const Stamp& wanted,
                 const FinishedFrames& finished, Findings& found) {
    const std::int64_t number = plan.firstNumber + frame;
    const std::vector<Stamp> stamps = finished.StampsOf(number);
    const bool matches = !stamps.empty() && stamps[0].picture == wanted.picture;
    const bool whole = (matches || stamps.empty()) && finished.ProblemOf(number).empty();
    if (matches && whole) {
        ++found.kept;
        const bool ofThisJob = std::any_of(stamps.begin(), stamps.end(), [&](const Stamp& stamp) {
            return stamp.job == wanted.job;
        });
        if (!ofThisJob) StampFile(finished.Sequence()).Append(number, "", wanted);
        return;
    }
    ++(matches || (stamps.empty() && !whole) ? found.damaged : found.otherwise);
    found.wanting.push_back(frame);
}

void KeepStills(const Options& options, RunPlan& plan, const Fingerprints& prints,
                ProgressLine& progress) {
    const SequenceName sequence = ParseSequenceName(options.output).value();
    RemoveAbandoned(sequence.folder,
                    [&](const std::string& name) { return NumberIn(name, sequence).has_value(); });
    const FinishedFrames finished(sequence);
    Findings found;
    for (const std::int64_t frame : plan.frames) {
        if (StopRequested()) return;
        if (finished.IsThere(plan.firstNumber + frame)) {
            LookAtFrame(frame, plan, prints.Of(frame), finished, found);
        } else {
            found.wanting.push_back(frame);
        }
    }
    const auto wanting = static_cast<std::int64_t>(found.wanting.size());
    std::string text =
        "--resume: " + FramesText(found.kept) + " kept, " + std::to_string(wanting) + " to render";
    if (found.otherwise > 0) {
        text += "; " + std::to_string(found.otherwise) +
                " of these made with other settings or of "
                "another input";
    }
    if (found.damaged > 0) text += "; " + std::to_string(found.damaged) + " of these damaged";
    progress.Note(text);
    KeepFrames(plan, std::move(found.wanting), options);
}

// Formats that tell all frames at the start may lack the last ones.
bool IsWholeMovie(const std::string& name, std::int64_t frames) {
    try {
        const std::unique_ptr<ClipReader> clip = OpenClip(name);
        if (clip->Info().frames != frames) return false;
        Picture picture;
        clip->Read(frames - 1, picture);
        return true;
    } catch (const MediaError&) {
        return false;
    }
}

void KeepMovie(const Options& options, RunPlan& plan, const Fingerprints& prints,
               ProgressLine& progress) {
    const fs::path path(options.output);
    RemoveAbandoned(path.parent_path().string(),
                    [&](const std::string& name) { return name == path.filename(); });
    std::error_code ignored;
    if (!fs::exists(path, ignored)) {
        progress.Note("--resume: no whole " + options.output +
                      " is there, and a movie is written in one go; a sequence such as "
                      "slow.%04d.png would keep what is finished");
        return;
    }
    const std::optional<Stamp> stamp = StampOfMovie(options.output);
    const bool matches = stamp && stamp->picture == prints.OfMovie().picture;
    if (matches && IsWholeMovie(options.output, stamp->frames)) {
        progress.Note("--resume: " + options.output + " is kept");
        KeepFrames(plan, {}, options);
    } else {
        progress.Note("--resume: " + options.output +
                      (matches ? " is damaged, and is rendered anew"
                               : " was made with other settings or of another input, and is "
                                 "rendered anew"));
    }
}

}  // namespace

void KeepFinished(const Options& options, RunPlan& plan, const Fingerprints& prints,
                  ProgressLine& progress) {
    const bool isSequence = FindStillFormat(options.output) != nullptr;
    (isSequence ? KeepStills : KeepMovie)(options, plan, prints, progress);
}

}  // namespace velorin
