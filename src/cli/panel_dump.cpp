#include "cli/panel_dump.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/progress_line.h"
#include "cli/time_law.h"
#include "spark_host/spark_host.h"

namespace velorin {

namespace {

using Row = std::array<std::string, 8>;

std::string TextOf(const SparkControl& control, double value) {
    return control.IsInteger() ? std::to_string(static_cast<long long>(value))
                               : NumberText(static_cast<float>(value));
}

std::string ValueText(const SparkControl& control) {
    if (!control.HasValue()) return "";
    const std::vector<std::string_view> entries = control.Entries();
    const auto entry = static_cast<std::size_t>(std::max(control.Value(), 0.0));
    const std::string value = TextOf(control, control.Value());
    return entry < entries.size() ? value + " " + std::string(entries[entry]) : value;
}

std::string RangeText(const SparkControl& control) {
    const std::vector<std::string_view> entries = control.Entries();
    if (!entries.empty() || !control.HasValue()) {
        std::string list;
        for (const std::string_view entry : entries) {
            list.append(list.empty() ? "" : " | ").append(entry);
        }
        return list;
    }
    const SparkRange range = control.Range();
    return TextOf(control, range.least) + " to " + TextOf(control, range.greatest);
}

bool HasStep(const SparkControl& control) {
    return control.Kind() == "integer" || control.Kind() == "float";
}

Row RowOf(const SparkControl& control) {
    return {control.Name(),
            std::string(control.Kind()),
            std::string(control.Title()),
            ValueText(control),
            HasStep(control) ? TextOf(control, control.Range().step) : "",
            control.Flags() != 0 ? std::to_string(control.Flags()) : "",
            SparkHost::NameOf(control.Callback()),
            RangeText(control)};
}

void PrintTable(const SparkPanel& panel) {
    std::vector<Row> rows = {
        {"NAME", "KIND", "TITLE", "VALUE", "STEP", "FLAGS", "CALLBACK", "RANGE"}};
    for (const SparkControl& control : panel.Controls()) rows.push_back(RowOf(control));
    std::array<std::size_t, std::tuple_size_v<Row>> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line.append(row[i]).append(widths[i] + 2 - row[i].size(), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::puts(line.c_str());
    }
}

std::string JsonOf(const SparkControl& control) {
    std::string json = "{\"name\": " + JsonString(control.Name()) +
                       ", \"kind\": " + JsonString(std::string(control.Kind())) +
                       ", \"number\": " + std::to_string(control.number);
    if (!control.Title().empty()) {
        json += ", \"title\": " + JsonString(std::string(control.Title()));
    }
    if (control.HasValue()) json += ", \"value\": " + TextOf(control, control.Value());
    if (HasStep(control)) {
        const SparkRange range = control.Range();
        json += ", \"min\": " + TextOf(control, range.least) +
                ", \"max\": " + TextOf(control, range.greatest) +
                ", \"increment\": " + TextOf(control, range.step) +
                ", \"flags\": " + std::to_string(control.Flags());
    }
    std::string list;
    for (const std::string_view entry : control.Entries()) {
        list += (list.empty() ? "" : ", ") + JsonString(std::string(entry));
    }
    if (!list.empty()) json += ", \"entries\": [" + list + "]";
    const std::string callback = SparkHost::NameOf(control.Callback());
    return json + ", \"callback\": " + (callback.empty() ? "null" : JsonString(callback)) + "}";
}

void PrintJson(const SparkPanel& panel) {
    const std::vector<SparkControl>& controls = panel.Controls();
    std::puts("[");
    for (std::size_t i = 0; i < controls.size(); ++i) {
        std::printf("  %s%s\n", JsonOf(controls[i]).c_str(), i + 1 < controls.size() ? "," : "");
    }
    std::puts("]");
}

}  // namespace

int PanelDump(const Options& options) {
    const SparkHost host(options.input);
    if (options.json) {
        PrintJson(host.Panel());
    } else {
        PrintTable(host.Panel());
    }
    return kExitDone;
}

}  // namespace velorin
