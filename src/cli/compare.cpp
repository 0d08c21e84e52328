#include "cli/compare.h"

#include <filesystem>
#include <string>
#include <utility>

#include "cli/exit_codes.h"
#include "cli/fields.h"
#include "cli/frame_renderer.h"
#include "cli/guides.h"
#include "cli/layer_clips.h"
#include "cli/matte_range.h"
#include "cli/motion_options.h"
#include "cli/motion_transfer.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/setup_text.h"
#include "cli/stop_request.h"
#include "cli/vector_notes.h"
#include "media/contact_sheet.h"
#include "media/safe_file.h"
#include "media/sequence_writer.h"

namespace velorin {

namespace {

// A choice of the engine, under the name that its panel has for it.
struct Named {
    int value;
    const char* name;
};

constexpr Named kRows[] = {{0, "Nearest"}, {1, "Blend"}, {2, "Weighted Energy Blend"}};
constexpr Named kColumns[] = {{0, "Inverse"}, {1, "Inverse + Smart Blend"}, {2, "Forward"}};
constexpr int kCells = static_cast<int>(std::size(kRows) * std::size(kColumns));

std::string Spelt(const std::string& option, int value) {
    return option + " " + std::string(ChoiceWord(option, value));
}

// The clip's name without the way to it, which may be as long as it likes.
std::string ShortName(const std::string& name) {
    const std::filesystem::path path(name);
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

std::string TitleOf(const Options& options, const RunPlan& plan) {
    const ClipInfo& source = plan.source;
    std::string title = ShortName(source.name) + "   --at " + DecimalText(options.at) + "   " +
                        Spelt("--quality", options.quality) + "   " +
                        Spelt("--prep", options.enhance) + "   --sensitivity " +
                        NumberText(options.sensitivity);
    if (plan.request.inputFields != 0) {
        title += "   " + Spelt("--input-fields", plan.request.inputFields);
    }
    if (!options.motionFrom.empty()) title += "   --motion-from " + ShortName(options.motionFrom);
    for (const std::string& matte : options.mattes) title += "   --matte " + ShortName(matte);
    for (const std::string& file : options.guides) title += "   --guides " + ShortName(file);
    const auto addVectors = [&](const std::string& clip, const char* option) {
        if (!clip.empty()) title += std::string("   ") + option + " " + ShortName(clip);
    };
    addVectors(options.forwardVectors, "--forward-vectors");
    addVectors(options.backwardVectors, "--backward-vectors");
    return title;
}

SheetLabel LabelOf(const Named& row, const Named& column) {
    return {std::string(row.name) + " / " + column.name,
            Spelt("--interp", row.value) + " " + Spelt("--warp", column.value)};
}

SheetSettings SettingsFor(const Options& options, const RunPlan& plan) {
    const ClipInfo& source = plan.source;
    SheetSettings settings;
    settings.title = TitleOf(options, plan);
    settings.columns = static_cast<int>(std::size(kColumns));
    settings.cellWidth = options.cellWidth.value_or(settings.cellWidth);
    settings.crop = options.crop;
    // Alpha that the clip does not have itself is not written by `retime` either.
    if (source.channels % 2 == 0) {
        settings.alpha = source.straightAlpha ? SheetSettings::Alpha::kStraight
                                              : SheetSettings::Alpha::kMultiplied;
    }
    return settings;
}

void NoteWhatIsLessThanAsked(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    const std::string unit = plan.request.inputFields != 0 ? "field" : "frame";
    if (plan.onFrame > 0) {
        progress.Note("--at " + DecimalText(options.at) + ": lies on a source " + unit +
                      ", which all methods show as it is; a time "
                      "between two " +
                      unit + "s tells more");
    }
    if (options.cellWidth.value_or(0) > plan.source.width) {
        progress.Note("--cell-width " + std::to_string(*options.cellWidth) + ": the frames are " +
                      std::to_string(plan.source.width) + " pixels wide and are not scaled up");
    }
}

// False when the user asked to stop. The pairs of one row follow each other: they mix alike.
bool FillSheet(ContactSheet& sheet, FrameRenderer& renderer, ProgressLine& progress) {
    int cell = 0;
    for (const Named& row : kRows) {
        for (const Named& column : kColumns) {
            if (StopRequested()) return false;
            const Picture* picture = renderer.Render(0, {row.value, column.value}, progress);
            if (!picture) return false;
            sheet.Add(*picture, LabelOf(row, column));
            progress.FrameDone(cell++);
        }
    }
    return true;
}

}  // namespace

int Compare(const Options& options) {
    WatchForStop();
    StartThreads(options);
    RunClips clips = OpenRunClips(options);
    const RunPlan plan = MakeSheetPlan(options, clips.source->Info());
    CheckTarget(options.output, options.overwrite);
    CheckNoFrameOf(options.output, plan.source);
    for (const ClipInfo& clip : OtherClips(clips)) CheckNoFrameOf(options.output, clip);
    ContactSheet sheet(SettingsFor(options, plan));
    ProgressLine progress(options.progress, options.quiet);
    std::vector<LayerGuides> guides = OpenGuides(options, plan.source, progress);
    NoteWhatIsLessThanAsked(options, plan, progress);
    NoteFields(options, plan, progress);
    NoteMatteRanges(options, plan, clips, progress);
    NoteMotionSources(options, progress);
    NoteEmptyVectors(options, plan, clips, progress);
    NoteMotionTransfer(options, plan, clips, progress);
    FrameRenderer renderer(options, plan, std::move(clips), std::move(guides));
    WriteSetup(options);
    progress.Start(kCells);
    if (!FillSheet(sheet, renderer, progress)) {
        progress.Note("stopped on request; no sheet is written");
        return StopRequested();
    }
    sheet.Write(options.output, options.overwrite);
    progress.Finish();
    return kExitDone;
}

}  // namespace velorin
