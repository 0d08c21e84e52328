#include "cli/layers.h"

#include "cli/motion_options.h"

namespace velorin {

namespace {

// The engine cuts layers out where it moves them and where it does not draw them all: all layers of
// a still frame are the frame itself.
bool CutsLayers(const Options& options, const PassForecast& pass) {
    if (options.mattes.empty() || options.view == View::kMatte) return false;
    const bool drawsAll = LayersDrawn(options).Count() > static_cast<int>(options.mattes.size());
    return !drawsAll || EstimatesMotion(options, pass);
}

}  // namespace

DrawnLayers LayersDrawn(const Options& options) {
    const int background = static_cast<int>(options.mattes.size());
    if (options.view == View::kBackground) return {background, background};
    if (options.view == View::kForeground) return {background - 1, 0};
    return {background, 0};
}

bool EstimatesMotion(const Options& options, const PassForecast& pass) {
    return pass.moves && options.view != View::kMatte;
}

bool ReadsSource(const Options& options) {
    return options.view != View::kMatte;
}

bool ReadsMotionClip(const Options& options, const PassForecast& pass) {
    const bool looks = !FollowsPointsAlone(options, 0) || !options.mattes.empty();
    return (looks && EstimatesMotion(options, pass)) || CutsLayers(options, pass);
}

bool ReadsMattes(const Options& options, const PassForecast& pass) {
    return options.view == View::kMatte || CutsLayers(options, pass);
}

std::string LayersText(const Options& options) {
    if (options.mattes.empty() && options.view == View::kOutput) return "";
    std::string text =
        "\nview: " + std::string(ChoiceWord("--view", static_cast<int>(options.view)));
    for (std::size_t i = 0; i < options.mattes.size(); ++i) {
        text += "\nmatte: " + options.mattes[i] + ", " +
                std::string(ChoiceWord("--matte-channel", options.matteChannel.value_or(0))) +
                ", sensitivity " + NumberText(options.fgSensitivities[i]) + ", shrink " +
                NumberText(options.matteShrinks[i]);
        const std::optional<MatteLevels>& levels = options.matteLevels[i];
        if (levels) {
            text += ", levels " + NumberText(levels->black) + "," + NumberText(levels->white);
        }
    }
    return text;
}

}  // namespace velorin
