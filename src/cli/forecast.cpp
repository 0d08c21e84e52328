#include "cli/forecast.h"

#include "engine/frame_choice.h"

namespace velorin {

std::vector<PassForecast> ForecastOf(const TimeLaw& law, std::int64_t outputFrame,
                                     const RequestSettings& request) {
    const std::int64_t base = law.At(outputFrame, 0).Base();
    const int fieldsOfFrame = request.inputFields != 0 ? 2 : 1;
    const int passes = request.outputFields != 0 ? 2 : 1;
    const auto timeOfPass = [&](int pass) {
        const int halves = pass * 2 / passes;
        return law.At(outputFrame, halves).After(base) * static_cast<float>(fieldsOfFrame);
    };
    std::vector<PassForecast> forecast;
    bool onFrame = !request.shrinks;
    for (int pass = 0; pass < passes; ++pass) {
        const float time = timeOfPass(pass);
        // A pass that needed vectors is followed by one that has them.
        onFrame = onFrame && ShowsSourceFrame(time, timeOfPass(pass + 1), request.compensate);
        const std::int64_t number = PairAround(time).floorFrame;
        forecast.push_back({base * fieldsOfFrame + number, base + number / fieldsOfFrame,
                            base + (number + 1) / fieldsOfFrame, onFrame});
    }
    return forecast;
}

}  // namespace velorin
