#include "cli/verify.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/frame_list.h"
#include "cli/progress_line.h"
#include "cli/stop_request.h"
#include "media/decoder_faults.h"
#include "media/finished_frames.h"
#include "media/movie_format.h"
#include "media/number_ranges.h"

namespace velorin {

namespace {

constexpr std::size_t kAllRanges = ~std::size_t{0};

struct Unreadable {
    std::int64_t frame;
    std::string problem;
};

// What is wrong with an output; output frames count from 0.
struct Findings {
    std::int64_t frames = 0;  // that should be there
    std::vector<std::int64_t> missing;
    std::vector<Unreadable> unreadable;
    std::vector<std::int64_t> otherwise;  // made with other settings than most
    std::vector<std::int64_t> unmarked;   // that do not say how they were made

    bool AllWell() const {
        return missing.empty() && unreadable.empty() && otherwise.empty() && unmarked.empty();
    }
};

// A number of the sequence that has a file.
struct FoundFrame {
    std::vector<Stamp> stamps;
    std::string problem;  // empty: it can be read
};

bool IsOf(const FoundFrame& found, const std::string& job) {
    return std::any_of(found.stamps.begin(), found.stamps.end(),
                       [&](const Stamp& stamp) { return stamp.job == job; });
}

// The job that most frames are of; of equally many, the one of the last frame that has one, which
// is the latest where a job was begun again.
std::string MainJob(const std::map<std::int64_t, FoundFrame>& found) {
    std::map<std::string, int> counts;
    std::string main;
    for (const auto& [number, frame] : found) {
        for (const Stamp& stamp : frame.stamps) {
            if (++counts[stamp.job] >= counts[main]) main = stamp.job;
        }
    }
    return main;
}

// What the stamps of the main job say of the whole output.
struct WholeOutput {
    std::string job;
    std::int64_t firstNumber = 0;
    std::int64_t frames = 0;
};

WholeOutput OutputOf(const std::map<std::int64_t, FoundFrame>& found) {
    WholeOutput output{MainJob(found), found.begin()->first, 0};
    output.frames = found.rbegin()->first - output.firstNumber + 1;
    if (output.job.empty()) return output;
    output.frames = 0;
    // Frames of a run with other numbers may be left beside them.
    std::map<std::int64_t, int> counts;
    for (const auto& [number, frame] : found) {
        for (const Stamp& stamp : frame.stamps) {
            if (stamp.job != output.job) continue;
            const std::int64_t first = number - stamp.frame;
            if (++counts[first] >= counts[output.firstNumber]) output.firstNumber = first;
            output.frames = std::max(output.frames, stamp.frames);
        }
    }
    return output;
}

Findings Judge(const std::map<std::int64_t, FoundFrame>& found, const Options& options) {
    const WholeOutput output = OutputOf(found);
    std::vector<FrameRange> ranges = options.frames;
    if (ranges.empty()) ranges.push_back({0, output.frames - 1, 1});
    Findings findings;
    for (const std::int64_t frame : ChosenFrames(ranges, output.frames)) {
        ++findings.frames;
        const auto entry = found.find(output.firstNumber + frame);
        if (entry == found.end()) {
            findings.missing.push_back(frame);
            continue;
        }
        const FoundFrame& file = entry->second;
        const bool inPlace = !file.stamps.empty() && file.stamps[0].frame == frame;
        if (!file.problem.empty()) {
            findings.unreadable.push_back({frame, file.problem});
        } else if (file.stamps.empty()) {
            findings.unmarked.push_back(frame);
        } else if (!inPlace || !IsOf(file, output.job)) {
            findings.otherwise.push_back(frame);
        }
    }
    return findings;
}

std::optional<Findings> LookThroughSequence(const FoundSequence& there, const Options& options) {
    const FinishedFrames finished(there.name);
    std::map<std::int64_t, FoundFrame> found;
    for (std::int64_t number = there.first; number < there.first + there.count; ++number) {
        if (StopRequested()) return std::nullopt;
        if (!finished.IsThere(number)) continue;
        found[number] = {finished.StampsOf(number), finished.ProblemOf(number)};
    }
    return Judge(found, options);
}

std::optional<Findings> LookThroughMovie(const Options& options) {
    std::int64_t faults = FaultsOfDecoders();
    const std::unique_ptr<ClipReader> clip = OpenClip(options.input);
    const std::optional<Stamp> stamp = StampOfMovie(options.input);
    Findings findings;
    findings.frames = stamp ? stamp->frames : clip->Info().frames;
    Picture picture;
    for (std::int64_t frame = 0; frame < findings.frames; ++frame) {
        if (StopRequested()) return std::nullopt;
        if (!stamp) findings.unmarked.push_back(frame);
        if (frame >= clip->Info().frames) {
            findings.missing.push_back(frame);
            continue;
        }
        try {
            clip->Read(frame, picture);
            // Decoders on several threads are a few frames ahead.
            if (FaultsOfDecoders() > faults) {
                findings.unreadable.push_back({frame, "the decoder found damage here or close by"});
            }
        } catch (const MediaError& failure) {
            findings.unreadable.push_back({frame, failure.what()});
        }
        faults = FaultsOfDecoders();
    }
    return findings;
}

std::vector<std::int64_t> FramesOf(const std::vector<Unreadable>& unreadable) {
    std::vector<std::int64_t> frames;
    for (const Unreadable& one : unreadable) frames.push_back(one.frame);
    return frames;
}

void PrintText(const Findings& findings, const Options& options) {
    const auto print = [](const char* what, const std::vector<std::int64_t>& frames) {
        if (frames.empty()) return;
        std::printf("%s: %s\n", what, NumberRanges(frames, kAllRanges).c_str());
    };
    const auto count = static_cast<long long>(findings.frames);
    if (findings.AllWell()) {
        if (options.quiet) return;
        std::printf("%s: all %lld frames are there, whole and of the same settings\n",
                    options.input.c_str(), count);
        return;
    }
    std::printf("%s: not all of %lld frames are in order\n", options.input.c_str(), count);
    print("missing", findings.missing);
    print("unreadable", FramesOf(findings.unreadable));
    for (const Unreadable& one : findings.unreadable) {
        std::printf("  frame %lld: %s\n", static_cast<long long>(one.frame), one.problem.c_str());
    }
    print("of other settings", findings.otherwise);
    print("not telling how they were made", findings.unmarked);
}

std::string JsonList(const std::vector<std::int64_t>& frames) {
    std::string text = "[";
    for (const std::int64_t frame : frames) {
        text += (text.size() > 1 ? "," : "") + std::to_string(frame);
    }
    return text + "]";
}

void PrintJson(const Findings& findings, const Options& options) {
    std::string problems;
    for (const Unreadable& one : findings.unreadable) {
        problems += (problems.empty() ? "" : ",") + std::string("{\"frame\":") +
                    std::to_string(one.frame) + ",\"text\":" + JsonString(one.problem) + "}";
    }
    std::printf(
        "{\"output\":%s,\"frames\":%lld,\"ok\":%s,\"missing\":%s,\"unreadable\":[%s],"
        "\"otherSettings\":%s,\"unmarked\":%s}\n",
        JsonString(options.input).c_str(), static_cast<long long>(findings.frames),
        findings.AllWell() ? "true" : "false", JsonList(findings.missing).c_str(), problems.c_str(),
        JsonList(findings.otherwise).c_str(), JsonList(findings.unmarked).c_str());
}

}  // namespace

int Verify(const Options& options) {
    WatchForStop();
    std::error_code ignored;
    const bool isMovie =
        IsMovieName(options.input) && !std::filesystem::is_directory(options.input, ignored);
    std::optional<Findings> findings;
    if (isMovie) {
        findings = LookThroughMovie(options);
    } else {
        const auto sequence = FindSequenceMeant(options.input, Holes::kKeep);
        if (!sequence) {
            throw MediaError(MediaError::Kind::kInput,
                             options.input +
                                 ": name the output as for velorin retime: a movie, or a sequence "
                                 "such as slow.%04d.png");
        }
        findings = LookThroughSequence(*sequence, options);
    }
    if (!findings) return StopRequested();
    (options.json ? PrintJson : PrintText)(*findings, options);
    return findings->AllWell() ? kExitDone : kExitFailure;
}

}  // namespace velorin
