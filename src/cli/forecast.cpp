#include "cli/forecast.h"

#include <cmath>

#include "engine/on_frame.h"
#include "image/rounding.h"

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
        const bool advances = std::fabs(time - timeOfPass(pass + 1)) > 1e-06f;
        // Blur is made along vectors; and a pass that needed some is followed by one that has them.
        if (!LiesOnFrame(time) || (advances && request.compensate > 0.005f)) onFrame = false;
        const std::int64_t number = Truncate(time);
        forecast.push_back({base * fieldsOfFrame + number, base + number / fieldsOfFrame,
                            base + (number + 1) / fieldsOfFrame, onFrame});
    }
    return forecast;
}

}  // namespace velorin
