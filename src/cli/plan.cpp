#include "cli/plan.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/clip_host.h"
#include "cli/clip_look.h"
#include "cli/exit_codes.h"
#include "cli/fields.h"
#include "cli/forecast.h"
#include "cli/frame_renderer.h"
#include "cli/hole_filler.h"
#include "cli/job_options.h"
#include "cli/law_plot.h"
#include "cli/layers.h"
#include "cli/motion_options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/setup_text.h"
#include "cli/stop_request.h"
#include "cli/time_notes.h"
#include "media/safe_file.h"
#include "media/sequence_writer.h"

namespace velorin {

namespace {

constexpr int kTableDigits = 6;
constexpr int kJsonDigits = 9;

// Where the vectors of a row come from.
enum class Vectors { kNone, kEstimated, kKept, kClip };

// One pass of the request for an output frame.
struct PlanRow {
    std::string frame;  // output frame; its second field is half a frame on
    SourceTime time;
    std::string floorFrame;  // as above
    std::string ceilFrame;
    float floorShare = 1.0f;
    std::string_view scene;
    std::string_view method;  // "copy", "fill" of a hole, or an --interp
    Vectors vectors = Vectors::kNone;
    int flows = 0;  // that are estimated for it
};

std::string FrameText(std::int64_t frame, bool isSecondField) {
    return std::to_string(frame) + (isSecondField ? ".5" : "");
}

class PlanTable {
  public:
    PlanTable(const Options& newOptions, const RunPlan& newPlan)
        : options(newOptions), plan(newPlan), flowForecast(newOptions.keepFlows) {}

    // The rows of an output frame; frames are asked for in the order of the run.
    std::vector<PlanRow> RowsOf(std::int64_t frame) {
        const std::vector<PassForecast> passes = ForecastOf(*plan.law, frame, plan.request);
        const std::vector<bool> computes = flowForecast.Next(passes);
        std::vector<PlanRow> rows;
        for (std::size_t i = 0; i < passes.size(); ++i) {
            rows.push_back(RowOf(passes[i], computes[i]));
            rows.back().frame = FrameText(frame, i == 1);
        }
        return rows;
    }

  private:
    std::string SourceText(const PassForecast& pass, int next) const {
        const std::int64_t frame = next == 0 ? pass.floorFrame : pass.ceilFrame;
        const bool second = plan.request.inputFields != 0 && (pass.pair + next) % 2 != 0;
        return FrameText(FrameInside(frame, plan.source.frames), second);
    }

    // Whether the one frame that is shown is computed from those around it.
    bool FillsHole(const PassForecast& pass) const {
        const std::int64_t shown = pass.numbers.ShowsFloor() ? pass.floorFrame : pass.ceilFrame;
        const FramesAround around =
            FramesAroundHole(plan.source, FrameInside(shown, plan.source.frames));
        return options.missing == MissingFrames::kInterpolate && around.before != around.behind;
    }

    PlanRow RowOf(const PassForecast& pass, bool computes) const {
        PlanRow row;
        row.time = pass.time;
        row.floorFrame = SourceText(pass, 0);
        row.ceilFrame = SourceText(pass, 1);
        row.scene = SceneWord(options.scenes.At(pass.floorFrame));
        row.method =
            pass.Copies() ? FillsHole(pass) ? "fill" : "copy" : ChoiceWord("--interp", pass.interp);
        row.floorShare = !pass.ShowsOneFrame()       ? pass.numbers.floorWeight
                         : pass.numbers.ShowsFloor() ? 1.0f
                                                     : 0.0f;
        if (!pass.moves) return row;
        row.vectors = TakesVectors(options) ? Vectors::kClip
                      : computes            ? Vectors::kEstimated
                                            : Vectors::kKept;
        if (row.vectors == Vectors::kEstimated) {
            row.flows = LayersDrawn(options).Count() * (pass.interp == 0 ? 1 : 2);
        }
        return row;
    }

    const Options& options;
    const RunPlan& plan;
    FlowForecast flowForecast;
};

std::string FlowsText(const PlanRow& row) {
    switch (row.vectors) {
        case Vectors::kNone:
            return "-";
        case Vectors::kEstimated:
            return std::to_string(row.flows);
        case Vectors::kKept:
            return "kept";
        default:
            return "clip";
    }
}

void PrintTableRow(const PlanRow& row) {
    std::printf("%9s %16s %9s %9s  %.3f %.3f  %-7s  %-7s  %s\n", row.frame.c_str(),
                TimeText(row.time, kTableDigits).c_str(), row.floorFrame.c_str(),
                row.ceilFrame.c_str(), static_cast<double>(row.floorShare),
                static_cast<double>(1.0f - row.floorShare), std::string(row.scene).c_str(),
                std::string(row.method).c_str(), FlowsText(row).c_str());
}

void PrintJsonRow(const PlanRow& row, bool isFirst) {
    constexpr const char* kWords[] = {"none", "estimated", "kept", "clip"};
    std::printf(
        "%s\n    {\"frame\": %s, \"time\": %s, \"floor\": %s, \"ceil\": %s, \"floorShare\": %s, "
        "\"ceilShare\": %s, \"scene\": \"%s\", \"method\": \"%s\", \"vectors\": \"%s\", "
        "\"flows\": %d}",
        isFirst ? "" : ",", row.frame.c_str(), TimeText(row.time, kJsonDigits).c_str(),
        row.floorFrame.c_str(), row.ceilFrame.c_str(), NumberText(row.floorShare).c_str(),
        NumberText(1.0f - row.floorShare).c_str(), std::string(row.scene).c_str(),
        std::string(row.method).c_str(), kWords[static_cast<int>(row.vectors)], row.flows);
}

std::string RateText(const Rational& rate) {
    if (rate.numerator <= 0) return "null";
    return "\"" + std::to_string(rate.numerator) + "/" + std::to_string(rate.denominator) + "\"";
}

std::string NumbersText(const std::vector<std::int64_t>& numbers) {
    std::string text;
    for (const std::int64_t number : numbers) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return text;
}

void PrintHead(const Options& options, const RunPlan& plan) {
    if (!options.json) {
        std::printf("%9s %16s %9s %9s  %-11s  %-7s  %-7s  %s\n", "FRAME", "SOURCE TIME", "FLOOR",
                    "CEIL", "SHARES", "SCENE", "METHOD", "FLOWS");
        return;
    }
    std::printf(
        "{\n  \"input\": %s,\n  \"sourceFrames\": %lld,\n  \"sourceRate\": %s,\n  \"law\": %s,\n"
        "  \"length\": %lld,\n  \"rate\": %s,\n  \"holes\": [%s],\n  \"repeated\": [%s],\n"
        "  \"frames\": [",
        JsonString(plan.source.name).c_str(), static_cast<long long>(plan.source.frames),
        RateText(plan.source.rate).c_str(), JsonString(plan.lawFacts.text).c_str(),
        static_cast<long long>(plan.length), RateText(plan.lawFacts.rate).c_str(),
        NumbersText(HolesOf(options, plan.source)).c_str(),
        NumbersText(options.look.repeats).c_str());
}

// What the rows add up to.
struct PlanSums {
    std::int64_t copies = 0;
    std::int64_t estimates = 0;
    std::int64_t flows = 0;

    void Add(const PlanRow& row) {
        if (row.method == "copy") ++copies;
        if (row.vectors == Vectors::kEstimated) ++estimates;
        flows += row.flows;
    }
};

PlanSums PrintRows(const Options& options, const RunPlan& plan) {
    PlanSums sums;
    PlanTable table(options, plan);
    bool isFirst = true;
    for (const std::int64_t frame : plan.frames) {
        for (const PlanRow& row : table.RowsOf(frame)) {
            if (options.json) {
                PrintJsonRow(row, isFirst);
            } else {
                PrintTableRow(row);
            }
            isFirst = false;
            sums.Add(row);
        }
    }
    if (options.json) std::puts("\n  ]\n}");
    return sums;
}

}  // namespace

int Plan(const Options& given) {
    ProgressLine progress(given.progress, given.quiet);
    StartThreads(given);
    if (NeedsLook(given)) MakeTimePlan(given, OpenSource(given)->Info());
    const std::optional<Options> found = WithFindings(given, progress);
    if (!found) return StopRequested();
    const Options& options = *found;
    const std::unique_ptr<ClipReader> clip = OpenSource(options);
    const RunPlan plan = MakeTimePlan(options, clip->Info());
    if (!options.plot.empty()) {
        CheckPictureName("--plot", options.plot);
        CheckTarget(options.plot, options.overwrite);
        CheckNoFrameOf(options.plot, plan.source);
        PlotLaw(options, plan);
    }
    WriteSetup(options);
    PrintHead(options, plan);
    const PlanSums sums = PrintRows(options, plan);
    NoteTimes(options, plan, progress);
    if (!HolesOf(options, plan.source).empty()) progress.Note(HolesText(options, plan.source));
    progress.Note(plan.lawFacts.text + ": " + std::to_string(plan.length) + " output frames of " +
                  std::to_string(plan.source.frames) + "; " + std::to_string(sums.copies) +
                  " copied, motion estimated " + std::to_string(sums.estimates) + " times, " +
                  std::to_string(sums.flows) + " flows");
    return kExitDone;
}

}  // namespace velorin
