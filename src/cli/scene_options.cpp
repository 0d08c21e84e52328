#include "cli/scene_options.h"

#include <limits>
#include <string_view>

#include "cli/key_list.h"
#include "cli/motion_options.h"

namespace velorin {

namespace {

constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kGreatestScore = 100;
constexpr std::int64_t kGreatestTolerance = 100;

// Keys have a colon, and neither a folder nor an extension.
bool IsFileName(std::string_view text) {
    return text.ends_with(".toml") || (text.find(':') == std::string_view::npos &&
                                       text.find_first_of("./") != std::string_view::npos);
}

std::string KeyOf(const SceneMark& mark) {
    return std::to_string(mark.frame) + ":" + std::string(SceneWord(mark.scene));
}

}  // namespace

void SetScenes(Options& options, const Argument& argument) {
    if (argument.text == "auto") {
        options.look.findsScenes = true;
    } else if (IsFileName(argument.text)) {
        options.look.sceneFile = argument.text;
    } else {
        try {
            options.scenes = ParseSceneMarks(argument.text);
        } catch (const KeyError& error) {
            const std::string_view shown = error.key.empty() ? argument.text : error.key;
            const bool isKey = argument.text.find(':') != std::string_view::npos;
            Argument{argument.option, shown}.Refuse(
                error.what() +
                std::string(isKey ? "" : "; or give auto, or a file such as scenes.toml"));
        }
    }
}

void SetScenesOutput(Options& options, const Argument& argument) {
    if (!argument.text.ends_with(".toml")) argument.Refuse("name a file such as scenes.toml");
    options.output = argument.text;
}

void SetCutThreshold(Options& options, const Argument& argument) {
    options.look.threshold = AsFloat(argument.AsDecimal(0, kGreatestScore));
}

void SetSceneLength(Options& options, const Argument& argument) {
    options.look.minLength = argument.AsInteger(1, kMostFrames);
}

void SetDedupeTolerance(Options& options, const Argument& argument) {
    options.look.tolerance = AsFloat(argument.AsDecimal(0, kGreatestTolerance));
}

void CompleteSceneOptions(const Options& options) {
    if (options.look.tolerance && !options.look.dedupes) {
        throw UsageError("--dedupe-tolerance needs --dedupe");
    }
    if (!options.look.dedupes) return;
    const auto refuse = [](bool given, const std::string& option, const std::string& why) {
        if (given) throw UsageError("--dedupe and " + option + ": " + why);
    };
    const std::string only =
        "only frames of INPUT are computed anew, and what goes with them would no longer fit; even "
        "the motion out first, with --dedupe and speed 1";
    refuse(!options.mattes.empty(), "--matte", only);
    refuse(!options.motionFrom.empty(), "--motion-from", only);
    refuse(!options.guides.empty(), "--guides", only);
    refuse(TakesVectors(options), "vectors", only);
    refuse(options.missing == MissingFrames::kHold, "--missing hold",
           "held frames are repetitions; give --missing interpolate");
}

std::string KeysText(const SceneMarks& scenes) {
    std::string text;
    for (const SceneMark& mark : scenes.Marks()) {
        text.append(text.empty() ? "" : ",").append(KeyOf(mark));
    }
    return text;
}

std::string ScenesText(const Options& options) {
    std::string text;
    for (const SceneMark& mark : options.scenes.Marks()) {
        text.append(text.empty() ? "\nscenes: " : ", ").append(KeyOf(mark));
    }
    return text;
}

void CheckScenes(const Options& options, const ClipInfo& source) {
    if (options.scenes.Marks().empty()) return;
    const SceneMark& last = options.scenes.Marks().back();
    if (last.frame < source.frames) return;
    const std::string& file = options.look.sceneFile;
    throw UsageError("--scenes " + (file.empty() ? "" : file + ": ") + KeyOf(last) +
                     ": lies past frame " + std::to_string(source.frames - 1) +
                     ", the last one of " + source.name);
}

}  // namespace velorin
