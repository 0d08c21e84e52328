#pragma once

#include <vector>

#include "image/progress.h"

namespace velorin {

// Keeps every fraction that reaches it; interrupts at the report numbered `stopAt`, from 1.
struct Recorder : KQIdleAndProgressClass {
    explicit Recorder(int newStopAt = 0) : KQIdleAndProgressClass(nullptr), stopAt(newStopAt) {}
    void ReportProgress(float fraction) override {
        fractions.push_back(fraction);
        if (static_cast<int>(fractions.size()) == stopAt) throw ZPErrInterrupted;
    }
    const int stopAt;
    std::vector<float> fractions;
};

}  // namespace velorin
