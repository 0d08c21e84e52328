#include "cli/layer_options.h"

#include <string>

#include "cli/spread_over.h"

namespace velorin {

namespace {

constexpr float kDefaultSensitivity = 70.0f;
constexpr int kGreatestShrink = 4;
constexpr int kGreatestScale = 16000;

std::string NamedClip(const Argument& argument) {
    if (argument.text.empty()) argument.Refuse("name a movie or a sequence such as matte.%04d.png");
    return std::string(argument.text);
}

void NeedMatte(bool given, const std::string& option) {
    if (given) throw UsageError(option + " needs --matte");
}

void CheckView(const Options& options) {
    const bool flow = options.view == View::kFlow;
    const std::string word(ChoiceWord("--view", static_cast<int>(options.view)));
    const bool ofMattes = options.view != View::kOutput && !flow;
    NeedMatte(ofMattes && options.mattes.empty(), "--view " + word);
    if (flow && options.quality == 0) {
        throw UsageError("--view flow needs motion; give another --quality than none");
    }
    if (options.flowScale && !flow) throw UsageError("--flow-scale needs --view flow");
}

}  // namespace

void AddMatte(Options& options, const Argument& argument) {
    options.mattes.push_back(NamedClip(argument));
}

void AddForegroundSensitivity(Options& options, const Argument& argument) {
    options.fgSensitivities.push_back(AsFloat(argument.AsDecimal(0, 100)));
}

void AddMatteShrink(Options& options, const Argument& argument) {
    options.matteShrinks.push_back(AsFloat(argument.AsDecimal(0, kGreatestShrink)));
}

void AddMatteLevels(Options& options, const Argument& argument) {
    const std::size_t comma = argument.text.find(',');
    const std::optional<Decimal> black = ParseDecimal(argument.text.substr(0, comma));
    const std::optional<Decimal> white =
        ParseDecimal(comma < argument.text.size() ? argument.text.substr(comma + 1) : "");
    if (!black || !white || !(AsFloat(*black) < AsFloat(*white))) {
        argument.Refuse(
            "give BLACK,WHITE in the matte's own values, the lower first, such as "
            "16,235 of 8 bits or 0.1,0.9 of float");
    }
    options.matteLevels.push_back(MatteLevels{AsFloat(*black), AsFloat(*white)});
}

void SetMotionFrom(Options& options, const Argument& argument) {
    options.motionFrom = NamedClip(argument);
}

void SetFlowScale(Options& options, const Argument& argument) {
    const float scale = AsFloat(argument.AsDecimal(0, kGreatestScale));
    if (!(scale > 0.0f)) argument.Refuse("give a length above 0, in pixels of the frame");
    options.flowScale = scale;
}

void CompleteLayerOptions(Options& options) {
    const SpreadTarget mattes{options.mattes.size(), "--matte", "matte"};
    NeedMatte(mattes.count == 0 && options.matteChannel.has_value(), "--matte-channel");
    SpreadOver(options.fgSensitivities, mattes, kDefaultSensitivity, "--fg-sensitivity");
    SpreadOver(options.matteShrinks, mattes, 0.0f, "--matte-shrink");
    SpreadOver(options.matteLevels, mattes, std::optional<MatteLevels>(), "--matte-levels");
    CheckView(options);
}

}  // namespace velorin
