#include "cli/given_options.h"

#include "cli/job_options.h"
#include "cli/layer_options.h"
#include "cli/motion_options.h"
#include "cli/scene_options.h"
#include "cli/sound_options.h"
#include "cli/time_options.h"

namespace velorin {

namespace {

void SetValues(Options& options, const GivenOption& given) {
    const OptionEntry& option = *given.option;
    const std::size_t times = given.values.size();
    if (times > 1 && option.traits.mostTimes == 1) {
        throw UsageError(CalledName(option) + " is given twice");
    }
    if (times > static_cast<std::size_t>(option.traits.mostTimes)) {
        throw UsageError(CalledName(option) + " is given " + std::to_string(times) + " times; " +
                         std::to_string(option.traits.mostTimes) + " are the most");
    }
    if (option.IsFlag() && given.values[0] != "true") {
        throw UsageError(CalledName(option) + " takes no value");
    }
    for (const std::string& value : given.values) option.set(options, {option, value});
}

// Not as a part of a longer name.
bool Names(const std::string& text, std::string_view option) {
    for (std::size_t at = text.find(option); at != std::string::npos;
         at = text.find(option, at + 1)) {
        const std::size_t end = at + option.size();
        const char next = end < text.size() ? text[end] : ' ';
        if (next != '-' && !(next >= 'a' && next <= 'z')) return true;
    }
    return false;
}

}  // namespace

std::string CalledName(const OptionEntry& option) {
    return std::string(option.letter.empty() ? option.name : option.letter);
}

void SetOption(Options& options, const GivenOption& given) {
    if (!given.IsGiven()) return;
    if (given.origin.empty()) return SetValues(options, given);
    try {
        SetValues(options, given);
    } catch (const UsageError& failure) {
        throw UsageError(given.origin + ": " + failure.what());
    }
    options.setup.origins.emplace_back(given.option->name, given.origin);
}

Options MakeOptions(const std::vector<GivenOption>& given) {
    Options options;
    for (const GivenOption& one : given) SetOption(options, one);
    try {
        CompleteLayerOptions(options);
        CompleteMotionOptions(options);
        CompleteTimeOptions(options);
        CompleteSceneOptions(options);
        CompleteSoundOptions(options);
        CompleteJobOptions(options);
    } catch (const UsageError& failure) {
        throw UsageError(WithOrigins(failure.what(), options.setup));
    }
    return options;
}

std::string WithOrigins(const std::string& text, const SetupOptions& setup) {
    std::string origins;
    for (const auto& [option, origin] : setup.origins) {
        if (!Names(text, option)) continue;
        origins.append(origins.empty() ? " (" : "; ").append(option).append(" is in " + origin);
    }
    return origins.empty() ? text : text + origins + ")";
}

}  // namespace velorin
