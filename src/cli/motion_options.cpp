#include "cli/motion_options.h"

#include <algorithm>

#include "cli/spread_over.h"

namespace velorin {

namespace {

constexpr int kGreatestScale = 16000;

std::string NamedFile(const Argument& argument, const char* whatToName) {
    if (argument.text.empty()) argument.Refuse(whatToName);
    return std::string(argument.text);
}

std::string VectorClip(const Argument& argument) {
    return NamedFile(argument, "name a sequence of vectors such as flow.%04d.exr");
}

// The text before the one comma and that behind it; false without.
bool SplitPair(std::string_view text, std::string_view& first, std::string_view& second) {
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos) return false;
    first = text.substr(0, comma);
    second = text.substr(comma + 1);
    return !first.empty() && !second.empty() && second.find(',') == std::string_view::npos;
}

std::size_t CountOfVectorClips(const Options& options) {
    return static_cast<std::size_t>(!options.forwardVectors.empty()) +
           static_cast<std::size_t>(!options.backwardVectors.empty());
}

// How the vector clips are called in messages.
std::string VectorsOption(const Options& options) {
    return options.forwardVectors.empty() ? "--backward-vectors" : "--forward-vectors";
}

void CheckVectors(const Options& options, bool channelsChosen) {
    const VectorOptions& vectors = options.vectors;
    const auto needClip = [&](bool given, const char* option) {
        if (given && !TakesVectors(options)) {
            throw UsageError(std::string(option) +
                             " needs --forward-vectors or --backward-vectors");
        }
    };
    needClip(vectors.format.has_value(), "--vectors-format");
    needClip(vectors.scale.has_value(), "--vector-scale");
    needClip(vectors.scaleXY.has_value(), "--vector-scale-xy");
    needClip(vectors.sign.has_value(), "--vector-sign");
    needClip(vectors.upwards.has_value(), "--vector-y");
    if (channelsChosen && vectors.format.value_or(kCodedVectors) != kPixelVectors) {
        throw UsageError(
            "--vector-channels needs --vectors-format pixels; coded vectors are in red and green");
    }
    if (!TakesVectors(options)) return;
    const auto refuse = [&](bool given, const std::string& option) {
        if (!given) return;
        throw UsageError(option + " and " + VectorsOption(options) +
                         ": give one of them; with vectors at hand no motion is measured");
    };
    refuse(!options.guides.empty(), "--guides");
    refuse(!options.motionFrom.empty(), "--motion-from");
    refuse(options.quality == 0, "--quality none");
}

void CheckGuides(const Options& options) {
    const auto needGuides = [&](bool given, const char* option) {
        if (given && options.guides.empty())
            throw UsageError(std::string(option) + " needs --guides");
    };
    needGuides(options.guidesOrigin.has_value(), "--guides-origin");
    needGuides(options.guidesFirst.has_value(), "--guides-first");
    if (!options.guides.empty() && options.quality == 0) {
        throw UsageError("--guides needs motion; give another --quality than none");
    }
    const int layers = static_cast<int>(options.mattes.size());
    for (std::size_t i = 0; i < options.guides.size(); ++i) {
        const int layer = options.guidesLayers[i];
        if (layer > layers) {
            throw UsageError("--guides-layer " + std::to_string(layer) + ": give " +
                             (layers == 0 ? "0, as there is one layer without --matte"
                                          : "a number from 0, the frontmost matte's layer, to " +
                                                std::to_string(layers) + ", the background"));
        }
        if (options.flowSources[i] == options.flowSources[0]) continue;
        for (std::size_t j = 0; j < i; ++j) {
            if (options.guidesLayers[j] == layer &&
                options.flowSources[j] != options.flowSources[i]) {
                throw UsageError("--flow: all --guides of layer " + std::to_string(layer) +
                                 " need the same one");
            }
        }
    }
}

}  // namespace

void AddGuides(Options& options, const Argument& argument) {
    options.guides.push_back(NamedFile(argument, "name a file of tracked points"));
}

void AddGuidesLayer(Options& options, const Argument& argument) {
    options.guidesLayers.push_back(static_cast<int>(argument.AsInteger(0, kMostGuideFiles - 1)));
}

void AddFlowSource(Options& options, const Argument& argument) {
    options.flowSources.push_back(argument.AsChoice());
}

void SetForwardVectors(Options& options, const Argument& argument) {
    options.forwardVectors = VectorClip(argument);
}

void SetBackwardVectors(Options& options, const Argument& argument) {
    options.backwardVectors = VectorClip(argument);
}

void SetVectorScale(Options& options, const Argument& argument) {
    const std::optional<Decimal> scale = ParseDecimal(argument.text);
    if (scale && scale->numerator < 0) {
        argument.Refuse(
            "give a number from 0 on; --vector-sign from turns the vectors round, and a factor of "
            "--vector-scale-xy one axis of them");
    }
    options.vectors.scale = AsFloat(argument.AsDecimal(0, kGreatestScale));
}

void SetVectorScaleXY(Options& options, const Argument& argument) {
    std::string_view x, y;
    const bool pair = SplitPair(argument.text, x, y);
    const std::optional<Decimal> first = pair ? ParseDecimal(x) : std::nullopt;
    const std::optional<Decimal> second = pair ? ParseDecimal(y) : std::nullopt;
    if (!first || !second) {
        argument.Refuse("give a factor for each axis, such as 1,1 or 960,-540");
    }
    options.vectors.scaleXY = {AsFloat(*first), AsFloat(*second)};
}

void AddVectorChannels(Options& options, const Argument& argument) {
    std::string_view u, v;
    if (!SplitPair(argument.text, u, v) || u == v) {
        argument.Refuse("give the names of two channels, such as motion.x,motion.y");
    }
    options.vectors.channels.emplace_back(std::pair(std::string(u), std::string(v)));
}

bool TakesVectors(const Options& options) {
    return !options.forwardVectors.empty() || !options.backwardVectors.empty();
}

bool FollowsPointsAlone(const Options& options, int layer) {
    for (std::size_t i = 0; i < options.guides.size(); ++i) {
        if (options.guidesLayers[i] == layer) return options.flowSources[i] == kFlowOfPoints;
    }
    return false;
}

void CompleteMotionOptions(Options& options) {
    const SpreadTarget files{options.guides.size(), "--guides", "guide file"};
    SpreadOver(options.guidesLayers, files, 0, "--guides-layer");
    SpreadOver(options.flowSources, files, static_cast<int>(kFlowEstimated), "--flow");
    CheckGuides(options);
    const bool channelsChosen = !options.vectors.channels.empty();
    const SpreadTarget clips{CountOfVectorClips(options), "--forward-vectors or --backward-vectors",
                             "vector clip"};
    SpreadOver(options.vectors.channels, clips, {}, "--vector-channels");
    CheckVectors(options, channelsChosen);
}

// Pixels arrive coded for a scale of 1 and are scaled by the axes alone.
VectorScale ScaleOfVectors(const Options& options) {
    const VectorOptions& vectors = options.vectors;
    const float scale = vectors.scale.value_or(1.0f);
    const bool coded = vectors.format.value_or(kCodedVectors) == kCodedVectors;
    const auto [x, y] = vectors.scaleXY.value_or(std::pair(1.0f, 1.0f));
    const float sign = static_cast<float>(vectors.sign.value_or(1)) * (coded ? 1.0f : scale);
    return {coded ? scale : 1.0f, x * sign,
            y * sign * static_cast<float>(vectors.upwards.value_or(1))};
}

void NoteMotionSources(const Options& options, ProgressLine& progress) {
    const VectorOptions& vectors = options.vectors;
    const bool coded = vectors.format.value_or(kCodedVectors) == kCodedVectors;
    if (TakesVectors(options) && coded && !vectors.scale && !vectors.scaleXY) {
        progress.Note(VectorsOption(options) +
                      ": coded vectors reach one pixel at most unless --vector-scale tells how "
                      "many pixels the full code stands for");
    }
}

std::string GuidesText(const Options& options) {
    std::string text;
    for (std::size_t i = 0; i < options.guides.size(); ++i) {
        text += "\nguides: " + options.guides[i] + ", layer " +
                std::to_string(options.guidesLayers[i]) + ", flow " +
                std::string(ChoiceWord("--flow", options.flowSources[i]));
    }
    return text;
}

}  // namespace velorin
