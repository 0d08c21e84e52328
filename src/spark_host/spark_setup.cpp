#include "spark_host/spark_setup.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>

namespace velorin {

namespace {

constexpr std::string_view kAt = " at ";

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<double> ParseNumber(std::string_view text) {
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc() || rest != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

// With as few digits as tell it from others of its kind.
std::string NumberText(double value, bool isInteger) {
    char text[64];
    const auto result = isInteger ? std::to_chars(text, std::end(text), std::llround(value))
                                  : std::to_chars(text, std::end(text), static_cast<float>(value));
    return {text, result.ptr};
}

const SparkControl& ControlNamed(std::string_view name, const SparkPanel& panel) {
    const SparkControl* control = panel.Find(name);
    if (!control) throw SparkHostError(std::string(name) + " is no control of the plug-in");
    if (!control->HasValue()) {
        throw SparkHostError(std::string(name) + " is a " + std::string(control->Kind()) +
                             " and has no value");
    }
    return *control;
}

double ParseValue(std::string_view text, const SparkControl& control) {
    const std::optional<double> value = ParseNumber(text);
    const SparkRange limits = control.Limits();
    const bool fits = value && *value >= limits.least && *value <= limits.greatest &&
                      (!control.IsInteger() || *value == std::trunc(*value));
    if (fits) return *value;
    throw SparkHostError(control.Name() + " = " + std::string(text) + ": give a " +
                         (control.IsInteger() ? "whole " : "") + "number");
}

}  // namespace

std::optional<float> SparkCurve::At(float frame) const {
    if (keys.empty()) return std::nullopt;
    const auto after = keys.upper_bound(frame);
    if (after == keys.begin()) return after->second;
    const auto before = std::prev(after);
    if (after == keys.end()) return before->second;
    const float part = (frame - before->first) / (after->first - before->first);
    return before->second + part * (after->second - before->second);
}

void SparkSetting::Apply(SparkCurves& curves) const {
    if (frame) {
        curves[control->number].SetKey(*frame, static_cast<float>(value));
    } else {
        control->SetValue(value);
    }
}

SparkSetting ParseSetting(std::string_view text, const SparkPanel& panel) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        throw SparkHostError(std::string(text) +
                             ": give NAME = VALUE, or NAME at FRAME = VALUE for a key");
    }
    const std::string_view left = Trimmed(text.substr(0, equals));
    const std::size_t at = left.find(kAt);
    SparkSetting setting;
    setting.control = &ControlNamed(Trimmed(left.substr(0, at)), panel);
    if (at != std::string_view::npos) {
        const std::string_view frame = Trimmed(left.substr(at + kAt.size()));
        const std::optional<double> number = ParseNumber(frame);
        if (!number) {
            throw SparkHostError(setting.control->Name() + " at " + std::string(frame) +
                                 ": give the number of a frame, from 1");
        }
        setting.frame = static_cast<float>(*number);
    }
    setting.value = ParseValue(Trimmed(text.substr(equals + 1)), *setting.control);
    return setting;
}

std::vector<SparkSetting> ReadSetup(const std::string& fileName, const SparkPanel& panel) {
    std::ifstream file(fileName);
    if (!file) throw SparkHostError(fileName + ": no setup can be read there");
    std::vector<SparkSetting> settings;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string_view text = Trimmed(std::string_view(line).substr(0, line.find('#')));
        if (text.empty()) continue;
        try {
            settings.push_back(ParseSetting(text, panel));
        } catch (const SparkHostError& failure) {
            throw SparkHostError(fileName + ":" + std::to_string(number) + ": " + failure.what());
        }
    }
    if (file.bad()) throw SparkHostError(fileName + ": the setup could not be read to its end");
    return settings;
}

void WriteSetup(const std::string& fileName, const SparkPanel& panel, const SparkCurves& curves) {
    std::ofstream file(fileName);
    for (const SparkControl& control : panel.Controls()) {
        if (!control.HasValue()) continue;
        file << control.Name() << " = " << NumberText(control.Value(), control.IsInteger());
        if (!control.Title().empty()) file << "  # " << control.Title();
        file << '\n';
    }
    for (const auto& [number, curve] : curves) {
        const SparkControl* control = panel.FindValue(number);
        if (!control) continue;
        for (const auto& [frame, value] : curve.Keys()) {
            file << control->Name() << kAt << NumberText(frame, false) << " = "
                 << NumberText(value, false) << '\n';
        }
    }
    file.close();
    if (!file) throw SparkHostError(fileName + ": the setup could not be written");
}

}  // namespace velorin
