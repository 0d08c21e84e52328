#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "spark_host/spark_panel.h"

namespace velorin {

// A curve of a control: values at frames, which count from 1.
class SparkCurve {
  public:
    void SetKey(float frame, float value) { keys[frame] = value; }
    const std::map<float, float>& Keys() const { return keys; }

    // On a straight line between keys; the first key's value before it, the last one's behind it.
    // Nothing without keys.
    std::optional<float> At(float frame) const;

  private:
    std::map<float, float> keys;
};

using SparkCurves = std::map<int, SparkCurve>;  // by control number

// A value of a control, or a key of its curve.
struct SparkSetting {
    const SparkControl* control = nullptr;
    std::optional<float> frame;  // of a key
    double value = 0.0;

    // Puts it into the control's record, or into its curve.
    void Apply(SparkCurves& curves) const;
};

// Reads "SparkFloat32 = 0.5" or "SparkFloat32 at 24 = 0.5". Values may be out of the control's
// range. Throws SparkHostError.
SparkSetting ParseSetting(std::string_view text, const SparkPanel& panel);

// Setups are text files of such lines; what follows a # is for people. Each throws SparkHostError
// with the file's name, reading with the line's number as well.
std::vector<SparkSetting> ReadSetup(const std::string& fileName, const SparkPanel& panel);
void WriteSetup(const std::string& fileName, const SparkPanel& panel, const SparkCurves& curves);

}  // namespace velorin
