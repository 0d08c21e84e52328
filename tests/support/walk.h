#pragma once

#include <initializer_list>
#include <string>

#include "support/noise.h"

namespace velorin {

// Renders one picture after the other on one host, and each on a host of its own: the pictures must
// be the same. make() gives a new host, set(host, step) prepares it for a picture.
template <typename Step, typename Make, typename Set>
void ExpectNothingLeftBehind(std::initializer_list<Step> steps, Make&& make, Set&& set) {
    const auto walked = make();
    int count = 0;
    for (const Step& step : steps) {
        SCOPED_TRACE("step " + std::to_string(count++));
        const auto fresh = make();
        for (const auto* host : {&walked, &fresh}) {
            set(**host, step);
            ASSERT_EQ((*host)->Render(0.0f), 0);
        }
        EXPECT_SAME_IMAGE(*walked->result, *fresh->result);
    }
}

}  // namespace velorin
