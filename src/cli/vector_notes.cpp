#include "cli/vector_notes.h"

#include <algorithm>
#include <vector>

#include "media/converted_clip.h"

namespace velorin {

namespace {

constexpr int kAlpha = 3;

bool ArePixels(const Options& options) {
    return options.vectors.format == kPixelVectors;
}

bool HasVectors(ClipReader& clip, std::int64_t frame) {
    Picture picture;
    clip.Read(frame, picture);
    float white = 1.0f;
    LookUpWhitePoint(picture.pixelType, white);
    return RangeOf(picture, kAlpha).greatest >= white;
}

std::string TextOf(const Options& options, const ClipInfo& clip) {
    const VectorOptions& vectors = options.vectors;
    const auto [x, y] = vectors.scaleXY.value_or(std::pair(1.0f, 1.0f));
    return clip.name + ", format " +
           std::string(ChoiceWord("--vectors-format", vectors.format.value_or(kCodedVectors))) +
           ", channels " + (ArePixels(options) ? clip.content : "red and green") + ", scale " +
           NumberText(vectors.scale.value_or(1.0f)) + ", scale of the axes " + NumberText(x) + "," +
           NumberText(y) + ", sign " +
           std::string(ChoiceWord("--vector-sign", vectors.sign.value_or(1))) + ", y " +
           std::string(ChoiceWord("--vector-y", vectors.upwards.value_or(1)));
}

}  // namespace

void NoteEmptyVectors(const Options& options, const RunPlan& plan, const RunClips& clips,
                      ProgressLine& progress) {
    if (options.quiet) return;
    const auto look = [&](const std::unique_ptr<ClipReader>& clip, ClipRole role) {
        if (!clip) return;
        const std::vector<std::int64_t> frames = FramesToLookAt(role, clip->Info(), options, plan);
        const bool isEmpty =
            !frames.empty() && std::none_of(frames.begin(), frames.end(), [&](std::int64_t frame) {
                return HasVectors(*clip, frame);
            });
        if (!isEmpty) return;
        progress.Note(
            clip->Info().name + ": has no vector on the " +
            (frames.size() == 1 ? "frame" : std::to_string(frames.size()) + " frames") +
            " looked at, as " +
            (ArePixels(options) ? "no pixel holds two numbers" : "alpha is nowhere full") +
            "; without any nothing moves");
    };
    look(clips.forwardVectors, ClipRole::kForwardVectors);
    look(clips.backwardVectors, ClipRole::kBackwardVectors);
}

std::string VectorsText(const Options& options, const RunClips& clips) {
    std::string text;
    if (clips.forwardVectors) {
        text += "\nforward vectors: " + TextOf(options, clips.forwardVectors->Info());
    }
    if (clips.backwardVectors) {
        text += "\nbackward vectors: " + TextOf(options, clips.backwardVectors->Info());
    }
    return text;
}

}  // namespace velorin
