#include "cli/law_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "media/plot_canvas.h"

namespace velorin {

namespace {

constexpr int kWidth = 1600;
constexpr int kHeight = 1000;
constexpr int kTextSize = 20;
constexpr int kTitleSize = 28;
constexpr PlotBox kFramesBox{130, 110, 1450, 610};
constexpr PlotBox kSpeedBox{130, 690, 1450, 900};
constexpr int kMostTicksAcross = 12;
constexpr int kMostTicksUp = 8;
constexpr int kMostTicksOfSpeed = 6;
constexpr int kMostSamples = 4000;
constexpr std::size_t kMostKeyLabels = 16;
constexpr double kRoomForDots = 9.0;  // pixels from one output frame to the next

constexpr PlotColour kGround{0.12f, 0.12f, 0.13f};
constexpr PlotColour kPanel{0.17f, 0.17f, 0.18f};
constexpr PlotColour kOutside{0.07f, 0.07f, 0.08f};
constexpr PlotColour kGrid{0.26f, 0.26f, 0.28f};
constexpr PlotColour kBorder{0.55f, 0.55f, 0.58f};
constexpr PlotColour kBright{0.95f, 0.95f, 0.95f};
constexpr PlotColour kDim{0.68f, 0.68f, 0.70f};
constexpr PlotColour kCurve{1.0f, 0.72f, 0.25f};
constexpr PlotColour kSpeed{0.45f, 0.78f, 1.0f};
// A, B, C, nearest and blend.
constexpr PlotColour kScenes[] = {{0.55f, 0.85f, 0.5f},
                                  {0.95f, 0.5f, 0.75f},
                                  {0.55f, 0.65f, 1.0f},
                                  {0.9f, 0.45f, 0.35f},
                                  {0.85f, 0.8f, 0.4f}};

// Values along one axis.
struct Span {
    double low = 0.0;
    double high = 1.0;

    double Length() const { return high - low; }
    void Include(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    void Widen(double part) {
        const double more = std::max(Length(), 1e-3) * part;
        low -= more;
        high += more;
    }
};

double AsDouble(const SourceTime& time) {
    return static_cast<double>(time.frame) +
           static_cast<double>(time.numerator) / static_cast<double>(time.denominator);
}

double AsDouble(Decimal number) {
    return static_cast<double>(number.numerator) / static_cast<double>(number.denominator);
}

// The shortest of the steps 1, 2 and 5 times a power of ten that gives no more ticks.
double TickStep(const Span& span, int mostTicks, double least) {
    const double wanted = std::max(span.Length() / mostTicks, least);
    const double power = std::pow(10.0, std::floor(std::log10(wanted) + 1e-9));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (step * power >= wanted * (1.0 - 1e-9)) return step * power;
    }
    return 10.0 * power;
}

// Places of a panel's values on the picture.
struct Panel {
    PlotBox box;
    Span across;
    Span up;

    double X(double value) const {
        return box.left + (value - across.low) / across.Length() * (box.right - box.left);
    }
    double Y(double value) const {
        return box.bottom - (value - up.low) / up.Length() * (box.bottom - box.top);
    }
    PlotPoint At(double x, double y) const { return {X(x), Y(y)}; }
};

std::string TickText(double value) {
    std::string text = NumberText(static_cast<float>(value));
    return text == "-0" ? "0" : text;
}

void DrawGrid(PlotCanvas& canvas, const Panel& panel, int mostTicksUp, double leastUp) {
    const double acrossStep = TickStep(panel.across, kMostTicksAcross, 1.0);
    for (double i = std::ceil(panel.across.low / acrossStep); i * acrossStep <= panel.across.high;
         ++i) {
        const double x = panel.X(i * acrossStep);
        canvas.Line({{x, panel.box.top}, {x, panel.box.bottom}}, panel.box, 1.0, kGrid);
        canvas.Text(x, panel.box.bottom + 28, kTextSize, TickText(i * acrossStep), kDim,
                    PlotCanvas::Align::kCentre);
    }
    const double upStep = TickStep(panel.up, mostTicksUp, leastUp);
    for (double i = std::ceil(panel.up.low / upStep); i * upStep <= panel.up.high; ++i) {
        const double y = panel.Y(i * upStep);
        canvas.Line({{panel.box.left, y}, {panel.box.right, y}}, panel.box, 1.0, kGrid);
        canvas.Text(panel.box.left - 12, y + 7, kTextSize, TickText(i * upStep), kDim,
                    PlotCanvas::Align::kRight);
    }
}

// What the plot shows of a law, in ascending order: the source times of output frames and, where
// there are not too many, of the moments half-way.
struct Samples {
    std::vector<double> frames;
    std::vector<double> times;

    void Add(const RunPlan& plan, std::int64_t frame, int halves) {
        frames.push_back(static_cast<double>(frame) + halves / 2.0);
        times.push_back(AsDouble(plan.law->At(frame, halves)));
    }
};

Samples SamplesOf(const RunPlan& plan) {
    Samples samples;
    const std::int64_t step = (plan.length + kMostSamples - 1) / kMostSamples;
    for (std::int64_t frame = 0; frame + 1 < plan.length; frame += step) {
        samples.Add(plan, frame, 0);
        if (step == 1) samples.Add(plan, frame, 1);
    }
    samples.Add(plan, plan.length - 1, 0);
    return samples;
}

// Source frames from some output frames to the ones after them.
Samples SpeedsOf(const RunPlan& plan) {
    Samples speeds;
    const std::int64_t step = (plan.length + kMostSamples - 1) / kMostSamples;
    for (std::int64_t frame = 0; frame + 1 < plan.length; frame += step) {
        speeds.Add(plan, frame, 0);
        speeds.times.back() = AsDouble(plan.law->At(frame + 1, 0)) - speeds.times.back();
    }
    return speeds;
}

class LawPlot {
  public:
    LawPlot(const Options& newOptions, const RunPlan& newPlan)
        : options(newOptions),
          plan(newPlan),
          samples(SamplesOf(newPlan)),
          speeds(SpeedsOf(newPlan)),
          lastFrame(static_cast<double>(newPlan.source.frames - 1)),
          canvas(kWidth, kHeight, kGround) {}

    void Draw() {
        ChooseSpans();
        DrawTitle();
        DrawClip();
        DrawScenes();
        DrawTimes();
        DrawSpeeds();
        DrawKeys();
        canvas.Text((kSpeedBox.left + kSpeedBox.right) / 2, kSpeedBox.bottom + 62, kTextSize,
                    "output frame", kBright, PlotCanvas::Align::kCentre);
        canvas.Write(options.plot, options.overwrite);
    }

  private:
    void ChooseSpans();
    void DrawTitle();
    void DrawClip();
    void DrawScenes();
    void DrawTimes();
    void DrawSpeeds();
    void DrawKeys();
    void LabelKey(const Panel& panel, std::size_t index);
    bool HasRoomForDots() const { return framesPanel.X(1) - framesPanel.X(0) >= kRoomForDots; }

    const Options& options;
    const RunPlan& plan;
    Samples samples;
    Samples speeds;
    double lastFrame;  // of the clip
    PlotCanvas canvas;
    Panel framesPanel{kFramesBox, {}, {}};
    Panel speedPanel{kSpeedBox, {}, {}};
};

// The clip's borders are shown where they are near what the law shows of it.
void LawPlot::ChooseSpans() {
    Span across{0.0, std::max(static_cast<double>(plan.length - 1), 1.0)};
    across.Widen(0.015);
    framesPanel.across = speedPanel.across = across;
    Span used{samples.times.front(), samples.times.front()};
    for (const double time : samples.times) used.Include(time);
    const double near = std::max(used.Length() / 2.0, 2.0);
    Span shown = used;
    if (used.low - near < 0.0) shown.Include(0.0);
    if (used.high + near > lastFrame) shown.Include(lastFrame);
    shown.Widen(0.1);
    framesPanel.up = shown;
    for (const double speed : speeds.times) speedPanel.up.Include(speed);
    speedPanel.up.Widen(0.3);
}

void LawPlot::DrawTitle() {
    const std::filesystem::path path(plan.source.name);
    const std::string name = (path.has_filename() ? path : path.parent_path()).filename().string();
    canvas.Text(kFramesBox.left, 48, kTitleSize, name + "   " + plan.lawFacts.text, kBright);
    std::string text = "clip of " + std::to_string(plan.source.frames) + " frames,  output of " +
                       std::to_string(plan.length);
    if (plan.lawFacts.rate.numerator > 0) {
        const double rate = static_cast<double>(plan.lawFacts.rate.numerator) /
                            static_cast<double>(plan.lawFacts.rate.denominator);
        text += " at " + NumberText(std::round(static_cast<float>(rate) * 1000.0f) / 1000.0f) +
                " frames a second";
    }
    canvas.Text(kFramesBox.left, 84, kTextSize, text, kDim);
    canvas.Text(kFramesBox.right, 84, kTextSize, "source frame", kCurve, PlotCanvas::Align::kRight);
    canvas.Text(kSpeedBox.right, kSpeedBox.top - 12, kTextSize,
                "speed: source frames from one output frame to the next", kSpeed,
                PlotCanvas::Align::kRight);
}

void LawPlot::DrawClip() {
    const PlotBox& box = kFramesBox;
    canvas.Fill(box, kOutside, 1.0f);
    const double top = std::clamp(framesPanel.Y(lastFrame), box.top, box.bottom);
    const double bottom = std::clamp(framesPanel.Y(0.0), box.top, box.bottom);
    canvas.Fill({box.left, top, box.right, bottom}, kPanel, 1.0f);
    DrawGrid(canvas, framesPanel, kMostTicksUp, 1.0);
    for (const double frame : {0.0, lastFrame}) {
        const double y = framesPanel.Y(frame);
        canvas.Line({{box.left, y}, {box.right, y}}, box, 2.0, kBorder);
    }
    if (box.bottom - bottom > 30) {
        canvas.Text(box.right - 12, box.bottom - 10, kTextSize, "before the clip: frame 0 holds",
                    kDim, PlotCanvas::Align::kRight);
    }
    if (top - box.top > 30) {
        canvas.Text(box.left + 12, box.top + 24, kTextSize,
                    "past the clip: frame " + std::to_string(plan.source.frames - 1) + " holds",
                    kDim);
    }
}

// A scene begins between its first frame and the one before.
void LawPlot::DrawScenes() {
    const PlotBox& box = kFramesBox;
    for (const SceneMark& mark : options.scenes.Marks()) {
        const double y = framesPanel.Y(std::max(static_cast<double>(mark.frame) - 0.5, 0.0));
        if (y < box.top || y > box.bottom) continue;
        const PlotColour& colour = kScenes[mark.scene];
        canvas.Line({{box.left, y}, {box.right, y}}, box, 2.0, colour, 10.0);
        canvas.Text(box.right + 10, y + 7, kTextSize,
                    std::string(SceneWord(mark.scene)) + " " + std::to_string(mark.frame), colour);
    }
}

// The law as it was drawn, and above it what the clip makes of it.
void LawPlot::DrawTimes() {
    std::vector<PlotPoint> drawn, shown;
    for (std::size_t i = 0; i < samples.frames.size(); ++i) {
        const double inside = std::clamp(samples.times[i], 0.0, lastFrame);
        drawn.push_back(framesPanel.At(samples.frames[i], samples.times[i]));
        shown.push_back(framesPanel.At(samples.frames[i], inside));
    }
    if (plan.outside > 0) canvas.Line(drawn, kFramesBox, 2.0, kDim, 6.0);
    canvas.Line(shown, kFramesBox, 3.5, kCurve);
    if (!HasRoomForDots()) return;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const bool isWhole = samples.frames[i] == std::floor(samples.frames[i]);
        if (isWhole) canvas.Dot(shown[i], 4.5, kCurve);
    }
}

// Each speed leads to the next output frame, and so it is drawn as a step.
void LawPlot::DrawSpeeds() {
    canvas.Fill(kSpeedBox, kPanel, 1.0f);
    DrawGrid(canvas, speedPanel, kMostTicksOfSpeed, 0.0);
    for (const double speed : {0.0, 1.0}) {
        const double y = speedPanel.Y(speed);
        canvas.Line({{kSpeedBox.left, y}, {kSpeedBox.right, y}}, kSpeedBox, 1.5, kBorder);
    }
    std::vector<PlotPoint> steps;
    for (std::size_t i = 0; i < speeds.frames.size(); ++i) {
        const double end = i + 1 < speeds.frames.size() ? speeds.frames[i + 1]
                                                        : static_cast<double>(plan.length - 1);
        steps.push_back(speedPanel.At(speeds.frames[i], speeds.times[i]));
        steps.push_back(speedPanel.At(end, speeds.times[i]));
    }
    canvas.Line(steps, kSpeedBox, 2.5, kSpeed);
}

void LawPlot::DrawKeys() {
    const std::vector<CurveKey>& keys = plan.lawFacts.keys;
    // A key for nearly every frame is a table, and not what somebody set.
    if (keys.size() > kMostKeyLabels &&
        static_cast<double>(keys.size()) * 3.0 > static_cast<double>(plan.length))
        return;
    const Panel& panel = plan.lawFacts.isSpeedCurve ? speedPanel : framesPanel;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const double frame = static_cast<double>(keys[i].frame);
        if (frame > panel.across.high) continue;
        if (plan.lawFacts.isSpeedCurve) {
            const double time = AsDouble(plan.law->At(keys[i].frame, 0));
            canvas.Dot(framesPanel.At(frame, std::clamp(time, 0.0, lastFrame)), 5.5, kBright);
        }
        const PlotPoint point = panel.At(frame, AsDouble(keys[i].value));
        canvas.Dot(point, 8.0, kGround);
        canvas.Dot(point, 6.0, kBright);
    }
    if (keys.size() > kMostKeyLabels) return;
    for (std::size_t i = 0; i < keys.size(); ++i) LabelKey(panel, i);
}

// Above the key, or below where the curve leads upwards from it.
void LawPlot::LabelKey(const Panel& panel, std::size_t index) {
    const std::vector<CurveKey>& keys = plan.lawFacts.keys;
    const CurveKey& key = keys[index];
    const double value = AsDouble(key.value);
    const PlotPoint point = panel.At(static_cast<double>(key.frame), value);
    const std::string text = std::to_string(key.frame) + ":" + DecimalText(key.value);
    const double half = canvas.TextWidth(text, kTextSize) / 2.0;
    if (point.x > panel.box.right) return;
    const bool risesTo = index > 0 && AsDouble(keys[index - 1].value) < value;
    const bool rises = index + 1 < keys.size() && AsDouble(keys[index + 1].value) > value;
    const bool hasRoomAbove = point.y - panel.box.top > 40;
    const bool hasRoomBelow = panel.box.bottom - point.y > 40;
    const bool below = hasRoomBelow && (!hasRoomAbove || (rises && !risesTo));
    const double x = std::clamp(point.x, panel.box.left + half + 6, panel.box.right - half - 6);
    const double baseline = point.y + (below ? 32 : -16);
    canvas.Fill({x - half - 4, baseline - 18, x + half + 4, baseline + 5}, kPanel, 0.8f);
    canvas.Text(x, baseline, kTextSize, text, kBright, PlotCanvas::Align::kCentre);
}

}  // namespace

void PlotLaw(const Options& options, const RunPlan& plan) {
    LawPlot(options, plan).Draw();
}

}  // namespace velorin
