#include "spark_host/spark_panel.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace velorin {

namespace {

constexpr int kLastControl = 64;

template <typename Record>
constexpr std::string_view kPrefix = "";
template <>
constexpr std::string_view kPrefix<SparkPush> = "SparkPush";
template <>
constexpr std::string_view kPrefix<SparkBoolean> = "SparkBoolean";
template <>
constexpr std::string_view kPrefix<SparkInt> = "SparkInt";
template <>
constexpr std::string_view kPrefix<SparkFloat> = "SparkFloat";
template <>
constexpr std::string_view kPrefix<SparkPup> = "SparkPup";

template <typename Value>
SparkRange LimitsOf(Value lowest) {
    return {static_cast<double>(lowest), static_cast<double>(std::numeric_limits<Value>::max()),
            0.0};
}

template <typename Record>
void AddControl(const std::function<void*(const std::string& name)>& find, int number,
                std::vector<SparkControl>& controls) {
    void* found = find(std::string(kPrefix<Record>) + std::to_string(number));
    if (found) controls.emplace_back(static_cast<Record*>(found), number);
}

int CountEntries(const SparkPup& menu) {
    const int count = std::clamp(menu.Count, 0, kSparkPupTitles);
    return static_cast<int>(std::find(menu.Titles, menu.Titles + count, nullptr) - menu.Titles);
}

}  // namespace

std::string SparkControl::Name() const {
    return std::visit(
        [&](auto* found) {
            return std::string(kPrefix<std::remove_reference_t<decltype(*found)>>) +
                   std::to_string(number);
        },
        record);
}

std::string_view SparkControl::Kind() const {
    constexpr std::string_view kKinds[] = {"button", "switch", "integer", "float", "menu"};
    return !HasValue() && !Callback() ? "heading" : kKinds[record.index()];
}

std::string_view SparkControl::Title() const {
    return std::visit(
        [](auto* found) -> std::string_view {
            if constexpr (requires { found->Title; }) {
                if (found->Title) return found->Title;
            }
            return {};
        },
        record);
}

std::vector<std::string_view> SparkControl::Entries() const {
    const auto* menu = std::get_if<SparkPup*>(&record);
    if (!menu) return {};
    return {(*menu)->Titles, (*menu)->Titles + CountEntries(**menu)};
}

SparkCallback SparkControl::Callback() const {
    return std::visit([](auto* found) { return found->Callback; }, record);
}

int SparkControl::Flags() const {
    return std::visit(
        [](auto* found) {
            if constexpr (requires { found->Flags; }) return static_cast<int>(found->Flags);
            return 0;
        },
        record);
}

double SparkControl::Value() const {
    return std::visit(
        [](auto* found) {
            if constexpr (requires { found->Value; }) return static_cast<double>(found->Value);
            return 0.0;
        },
        record);
}

void SparkControl::SetValue(double value) const {
    const SparkRange limits = Limits();
    const double held = std::clamp(value, limits.least, limits.greatest);
    std::visit(
        [&](auto* found) {
            if constexpr (requires { found->Value; }) {
                found->Value = static_cast<decltype(found->Value)>(held);
            }
        },
        record);
}

SparkRange SparkControl::Range() const {
    return std::visit(
        [](auto* found) -> SparkRange {
            if constexpr (requires { found->Min; }) {
                return {static_cast<double>(found->Min), static_cast<double>(found->Max),
                        static_cast<double>(found->Increment)};
            } else if constexpr (requires { found->Titles; }) {
                return {0.0, CountEntries(*found) - 1.0, 1.0};
            }
            return {0.0, 1.0, 1.0};
        },
        record);
}

SparkRange SparkControl::Limits() const {
    return std::visit(
        [](auto* found) -> SparkRange {
            if constexpr (requires { found->Value; }) {
                return LimitsOf(std::numeric_limits<decltype(found->Value)>::lowest());
            }
            return {};
        },
        record);
}

SparkPanel::SparkPanel(const std::function<void*(const std::string& name)>& find) {
    for (int number = 1; number <= kLastControl; ++number) {
        AddControl<SparkPush>(find, number, controls);
        AddControl<SparkBoolean>(find, number, controls);
        AddControl<SparkInt>(find, number, controls);
        AddControl<SparkFloat>(find, number, controls);
        AddControl<SparkPup>(find, number, controls);
    }
}

const SparkControl* SparkPanel::Find(std::string_view name) const {
    const auto found = std::find_if(controls.begin(), controls.end(),
                                    [&](const SparkControl& one) { return one.Name() == name; });
    return found == controls.end() ? nullptr : &*found;
}

const SparkControl* SparkPanel::FindValue(int number) const {
    const auto found = std::find_if(controls.begin(), controls.end(), [&](const SparkControl& one) {
        return one.number == number && one.HasValue();
    });
    return found == controls.end() ? nullptr : &*found;
}

}  // namespace velorin
