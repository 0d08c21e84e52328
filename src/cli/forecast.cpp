#include "cli/forecast.h"

namespace velorin {

std::optional<std::int64_t> PassForecast::FrameCopied() const {
    if (moves || interp == 2) return std::nullopt;
    if (interp == 0) return numbers.ShowsFloor() ? floorFrame : ceilFrame;
    return numbers.floorWeight == 1.0f ? std::optional(floorFrame) : std::nullopt;
}

std::vector<PassForecast> ForecastOf(const TimeLaw& law, std::int64_t outputFrame,
                                     const RequestSettings& request) {
    const int fieldsOfFrame = request.inputFields != 0 ? 2 : 1;
    const int passes = request.outputFields != 0 ? 2 : 1;
    const std::int64_t base = BaseOf(law, outputFrame, passes == 2);
    const auto timeOfPass = [&](int pass) {
        return law.At(outputFrame, pass * 2 / passes).After(base) *
               static_cast<float>(fieldsOfFrame);
    };
    const SceneFrames frames =
        FramesOfScenes(law.At(outputFrame, 0).After(base), request.inputFields != 0);
    const SceneRule rule = RuleOfScenes(request.scenes.At(base + frames.earlier),
                                        request.scenes.At(base + frames.later));
    const bool usesVectors = request.usesVectors && rule == SceneRule::kAnyMethod;
    std::vector<PassForecast> forecast;
    bool onFrame = !request.shrinks;
    for (int pass = 0; pass < passes; ++pass) {
        const float time = timeOfPass(pass);
        // A pass that needed vectors is followed by one that has them.
        onFrame = onFrame && ShowsSourceFrame(time, timeOfPass(pass + 1), request.compensate);
        PassForecast next;
        next.time = law.At(outputFrame, pass * 2 / passes);
        next.base = base;
        next.numbers = PairAround(time);
        next.pair = base * fieldsOfFrame + next.numbers.floorFrame;
        next.floorFrame = base + next.numbers.floorFrame / fieldsOfFrame;
        next.ceilFrame = base + next.numbers.ceilFrame / fieldsOfFrame;
        next.onFrame = onFrame;
        next.moves = usesVectors && !onFrame;
        next.interp = rule == SceneRule::kAnyMethod ? request.interp
                      : rule == SceneRule::kNearest ? 0
                                                    : 1;
        forecast.push_back(next);
    }
    return forecast;
}

std::vector<bool> FlowForecast::Next(const std::vector<PassForecast>& passes) {
    std::vector<bool> computes;
    for (const PassForecast& pass : passes) {
        const bool serves = flowPair.Serves(pass.numbers, pass.interp);
        flowPair.Take(pass.numbers);
        // With another base the same numbers stand for other frames.
        const bool kept = holdsFlows && keepsFlows && base == pass.base;
        computes.push_back(pass.moves && !(serves && kept));
        holdsFlows = pass.moves;
        base = pass.base;
    }
    return computes;
}

}  // namespace velorin
