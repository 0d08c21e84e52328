#include "cli/option_table.h"

#include <limits>
#include <utility>

#include "cli/job_options.h"
#include "cli/layer_options.h"
#include "cli/motion_options.h"
#include "cli/scene_options.h"
#include "cli/sound_options.h"
#include "cli/time_options.h"

namespace velorin {

namespace {

constexpr std::string_view kTime = "Time";
constexpr std::string_view kMotion = "Motion and mix";
constexpr std::string_view kElsewhere = "Motion from elsewhere";
constexpr std::string_view kLayers = "Layers";
constexpr std::string_view kFields = "Fields";
constexpr std::string_view kSheet = "Sheet";
constexpr std::string_view kHostClips = "Clips of the host";
constexpr std::string_view kPanel = "Panel";
constexpr std::string_view kRun = "Run";
// Says by itself which moments of the clip are shown.
constexpr std::string_view kLaw = "law";
constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();
constexpr int kGreatestCompensation = 5;
constexpr int kMostSettings = 1000;
constexpr int kFormatOfClip = -1;
constexpr int kNarrowestCell = 16;
constexpr int kWidestCell = 16000;

constexpr Choice kInterps[] = {{"blend", 1}, {"nearest", 0}, {"energy", 2}};
constexpr Choice kQualities[] = {{"best", 4},   {"full", 5},   {"high", 3},
                                 {"medium", 2}, {"sloppy", 1}, {"none", 0}};
constexpr Choice kWarps[] = {{"inverse", 0}, {"smart", 1}, {"forward", 2}};
constexpr Choice kPreps[] = {{"none", 0}, {"enhance", 1}};
constexpr Choice kChannels[] = {{"red", 0}, {"green", 1}, {"blue", 2}};
constexpr Choice kViews[] = {{"output", static_cast<int>(View::kOutput)},
                             {"background", static_cast<int>(View::kBackground)},
                             {"foreground", static_cast<int>(View::kForeground)},
                             {"matte", static_cast<int>(View::kMatte)},
                             {"flow", static_cast<int>(View::kFlow)}};
constexpr Choice kTransfers[] = {
    {"none", kTransferNone}, {"log", kTransferLog}, {"auto", kTransferAuto}};
constexpr Choice kAudioModes[] = {
    {"pitch", kAudioPitch}, {"stretch", kAudioStretch}, {"drop", kAudioDrop}};
constexpr Choice kOrigins[] = {{"bottom", 0}, {"top", 1}};
constexpr Choice kFlows[] = {{"estimate", kFlowEstimated}, {"points", kFlowOfPoints}};
constexpr Choice kFormats[] = {{"coded", kCodedVectors}, {"pixels", kPixelVectors}};
constexpr Choice kSigns[] = {{"to", 1}, {"from", -1}};
constexpr Choice kUpDown[] = {{"up", 1}, {"down", -1}};
constexpr Choice kInputFields[] = {
    {"none", 0}, {"lower", 2}, {"upper", 1}, {"auto", kFieldsOfClip}};
constexpr Choice kOutputFields[] = {{"none", 0}, {"lower", 2}, {"upper", 1}};
constexpr Choice kDepths[] = {{"8", static_cast<int>(SampleDepth::kByte)},
                              {"16", static_cast<int>(SampleDepth::kWord)},
                              {"half", static_cast<int>(SampleDepth::kHalf)},
                              {"float", static_cast<int>(SampleDepth::kFloat)}};
constexpr Choice kPipes[] = {{"y4m", static_cast<int>(PipeFormat::kY4m)},
                             {"nut", static_cast<int>(PipeFormat::kNut)}};
constexpr Choice kHostFormats[] = {
    {"auto", kFormatOfClip}, {"8", kHostByte}, {"12", kHostTwelveBits}, {"half", kHostHalf}};
constexpr Choice kMissing[] = {{"error", static_cast<int>(MissingFrames::kError)},
                               {"hold", static_cast<int>(MissingFrames::kHold)},
                               {"interpolate", static_cast<int>(MissingFrames::kInterpolate)}};
constexpr Choice kStyles[] = {{"auto", static_cast<int>(ProgressStyle::kAuto)},
                              {"plain", static_cast<int>(ProgressStyle::kPlain)},
                              {"json", static_cast<int>(ProgressStyle::kJson)},
                              {"none", static_cast<int>(ProgressStyle::kNone)}};

void SetOutputName(Options& options, const Argument& argument, const char* whatToName) {
    if (argument.text == "-") argument.Refuse("name a file; standard output is not supported");
    const bool named = !argument.text.empty() && argument.text[0] != '-' && argument.text[0] != '=';
    if (!named) argument.Refuse(whatToName);
    options.output = argument.text;
}

void SetFlows(Options& options, const Argument& argument) {
    SetOutputName(options, argument, "name a sequence such as flow.%04d.exr");
}

void SetMovieOrSequence(Options& options, const Argument& argument) {
    SetOutputName(options, argument, "name a movie or a sequence such as slow.%04d.png");
}

void SetOutput(Options& options, const Argument& argument) {
    if (argument.text == kPipeName) {
        options.output = kPipeName;
        return;
    }
    SetMovieOrSequence(options, argument);
}

void SetSheet(Options& options, const Argument& argument) {
    SetOutputName(options, argument, "name a picture such as sheet.png");
}

// Which times there are is not known before the clip is open.
void SetAt(Options& options, const Argument& argument) {
    const std::optional<Decimal> at = ParseDecimal(argument.text);
    if (!at) argument.Refuse("give a time in frames of the clip, such as 12.5");
    options.at = *at;
}

void SetFrames(Options& options, const Argument& argument) {
    std::optional<std::vector<FrameRange>> frames = ParseFrames(argument.text);
    if (!frames) argument.Refuse("give output frames such as 7, 7-9, 7-, 0-100x10 or 1,4,7-9");
    options.frames = *std::move(frames);
}

void SetPlot(Options& options, const Argument& argument) {
    if (argument.text.empty()) argument.Refuse("name a picture such as curve.png");
    options.plot = argument.text;
}

void SetSensitivity(Options& options, const Argument& argument) {
    options.sensitivity = AsFloat(argument.AsDecimal(0, 100));
}

// Of a clip or a setup, which a member of the options names.
template <std::string PluginOptions::*member>
void SetPluginFile(Options& options, const Argument& argument) {
    if (argument.text.empty()) argument.Refuse("name a file or a sequence such as shot.%04d.png");
    options.plugin.*member = argument.text;
}

template <std::string SetupOptions::*member>
void SetSetupFile(Options& options, const Argument& argument) {
    if (argument.text.empty()) argument.Refuse("name a file such as shot.toml");
    options.setup.*member = argument.text;
}

void SetHostFormat(Options& options, const Argument& argument) {
    const int format = argument.AsChoice();
    if (format != kFormatOfClip) options.plugin.format = format;
}

// clang-format off
constexpr OptionEntry kOptions[] = {
    {kVerbRetime, {}, "-o", "--output", "OUTPUT", "the movie or sequence to write, or - for standard "
     "output", {}, SetOutput, {.required = true}},
    {kVerbSparkRender, {}, "-o", "--output", "OUTPUT", "the movie or sequence to write", {},
     SetMovieOrSequence, {.required = true}},
    {kVerbScenes, {}, "-o", "--output", "FILE", "write the scenes into this file, which retime "
     "--scenes takes and which can be corrected by hand", {}, SetScenesOutput},
    {kVerbScenes, {}, {}, "--threshold", "T", "score from which on a frame is a cut, 0 to 100", {},
     SetCutThreshold, {.whenNone = "25"}},
    {kVerbScenes, {}, {}, "--min-length", "N", "frames that a scene has at least", {},
     SetSceneLength, {.whenNone = "1"}},
    {kVerbScenes, {}, "-v", "--scores", {}, "tell the score of every frame, too", {},
     [](Options& options, const Argument&) { options.look.tellsScores = true; }},
    {kVerbPanelDump | kVerbPlan | kVerbInfo | kVerbScenes, {}, {}, "--json", {}, "write JSON instead of a table", {},
     [](Options& options, const Argument&) { options.json = true; }},
    {kVerbVerify, {}, {}, "--json", {}, "write JSON instead of text", {},
     [](Options& options, const Argument&) { options.json = true; }},
    {kVerbPlan, {}, {}, "--plot", "PICTURE", "draw the law into this picture: png, tif, jpg", {},
     SetPlot},
    {kVerbVectors, {}, "-o", "--output", "OUTPUT", "the sequence of EXR files to write", {},
     SetFlows, {.required = true}},
    {kVerbCompare, {}, {}, "--at", "TIME", "the time to render, in frames of the clip from 0 on; "
     "12.5 is half-way between frames 12 and 13", {}, SetAt, {.required = true}},
    {kVerbCompare, {}, "-o", "--output", "SHEET", "the picture to write, of 8 bits: png, tif, jpg",
     {}, SetSheet, {.required = true}},

    {kVerbSparkRender, kHostClips, {}, "--front", "CLIP", "the clip to retime", {},
     SetPluginFile<&PluginOptions::front>, {.required = true}},
    {kVerbSparkRender, kHostClips, {}, "--back", "CLIP", "the clip that Use ALT Motion (Back) "
     "measures motion on, of the same size; black when not given", {},
     SetPluginFile<&PluginOptions::back>},
    {kVerbSparkRender, kHostClips, {}, "--matte", "CLIP", "the clip that Use FG Matte takes the "
     "matte from, of the same size; black when not given", {},
     SetPluginFile<&PluginOptions::matte>},
    {kVerbSparkRender, kHostClips, {}, "--length", "N", "number of output frames; by default as "
     "many as the front clip has", {},
     [](Options& options, const Argument& argument) {
         options.length = argument.AsInteger(1, kMostFrames);
     }},
    {kVerbSparkRender, kHostClips, {}, "--format", "FORMAT", "how the host holds frames: as bytes, "
     "in 12 bits or as halves; auto is what comes closest to the front clip", kHostFormats,
     SetHostFormat},
    {kVerbSparkRender, kPanel, {}, "--setup", "FILE", "the panel's values and keys, a line for each: "
     "SparkFloat32 = 0.5, or SparkFloat32 at 24 = 0.5 for a key at frame 24 of a curve, whose "
     "frames count from 1; what follows a # does not count", {},
     SetPluginFile<&PluginOptions::setup>},
    {kVerbSparkRender, kPanel, {}, "--set", "LINE", "one such line more, up to 1000 times", {},
     [](Options& options, const Argument& argument) {
         options.plugin.settings.emplace_back(argument.text);
     }, {.mostTimes = kMostSettings}},

    {kVerbTimes, kTime, {}, "--speed", "S", "constant Speed Factor, 0 to 10; this and "
     "the next five are laws of time, of which one can be given", {}, SetSpeed,
     {.whenNone = "1", .oneOf = kLaw}},
    {kVerbTimes, kTime, {}, "--speed-curve", "KEYS", "Speed Factor at each output frame, such as "
     "0:1,24:0.25~,48:1: the way to the next key is straight, with ~ smooth, with | it holds", {},
     SetSpeedCurve, {.oneOf = kLaw}},
    {kVerbTimes, kTime, {}, "--frame-curve", "KEYS", "source frame at each output frame, such as "
     "0:0~,48:12,72:0: downwards is backwards, level is a freeze; beyond its ends the clip holds",
     {}, SetFrameCurve, {.oneOf = kLaw}},
    {kVerbTimes, kTime, {}, "--curve-file", "FILE", "the same from a file with two columns, output "
     "frame and source frame", {}, SetCurveFile, {.oneOf = kLaw}},
    {kVerbTimes, kTime, {}, "--fit-length", "N", "the constant speed at which the clip lasts N "
     "frames, from its first frame to its last", {}, SetFitLength, {.oneOf = kLaw}},
    {kVerbTimes, kTime, {}, "--fit-rate", "FPS", "the constant speed at which the clip lasts as "
     "long as before at so many frames a second, such as 25 or 24000/1001", {}, SetFitRate,
     {.oneOf = kLaw}},
    {kVerbTimes, kTime, {}, "--length", "N", "number of output frames; by default all whose "
     "source time lies inside the clip, and with a frame curve up to its last key", {},
     [](Options& options, const Argument& argument) {
         options.length = argument.AsInteger(1, kMostFrames);
     }},
    {kVerbTimes, kTime, {}, "--scenes", "auto|FILE|KEYS", "where scenes begin, which are never mixed "
     "with each other: auto looks for the cuts in INPUT, FILE is one that velorin scenes wrote, and "
     "KEYS are source frames with the scene that begins there, such as 0:A,48:B: one of A, B and C, "
     "or nearest or blend, in which nothing moves", {}, SetScenes},
    {kVerbTimes, kTime, {}, "--dedupe", {}, "look for frames of INPUT that only repeat the one "
     "before, as in telecined film and captured screens, and compute them anew from those on both "
     "sides; freezes of more than 5 frames stay", {},
     [](Options& options, const Argument&) { options.look.dedupes = true; }},
    {kVerbTimes, kTime, {}, "--dedupe-tolerance", "N", "how much may change in a repeated "
     "frame, where it changes most, in hundredths of white", {}, SetDedupeTolerance, {.whenNone = "1.5"}},
    {kVerbTimes, kTime, {}, "--audio", "HOW", "the sound of a movie that is made of a movie: pitch "
     "plays it along with the pictures, as a tape would; stretch keeps its pitch, at constant "
     "speeds; drop leaves it out", kAudioModes, SetAudio,
     {.toldWhenNone = true}},

    {kVerbTimes, kMotion, {}, "--interp", "METHOD", "how the two neighbours are mixed; energy is "
     "Weighted Energy Blend", kInterps,
     [](Options& options, const Argument& argument) {
         options.interp = argument.AsChoice();
     }},
    {kVerbAll, kMotion, {}, "--quality", "QUALITY", "size at which motion is estimated: best is "
     "half the frame's, full its own, none mixes without motion", kQualities,
     [](Options& options, const Argument& argument) {
         options.quality = argument.AsChoice();
     }},
    {kVerbTimes, kMotion, {}, "--warp", "METHOD", "how frames are moved along the motion; smart "
     "is Inverse + Smart Blend", kWarps,
     [](Options& options, const Argument& argument) {
         options.warp = argument.AsChoice();
     }},
    {kVerbAll, kMotion, {}, "--prep", "KIND", "preparation of what the estimator sees", kPreps,
     [](Options& options, const Argument& argument) {
         options.enhance = argument.AsChoice();
     }},
    {kVerbAll, kMotion, {}, "--sensitivity", "N", "Motion Sensitivity, 0 to 100", {}, SetSensitivity,
     {.whenNone = "70"}},
    {kVerbAll, kMotion, {}, "--motion-transfer", "CURVE", "measure motion on a copy whose tones are "
     "compressed, for pictures of scene-linear light: their shadows then count as the eye sees "
     "them; what is rendered stays the picture itself; auto does so for EXR and what else says "
     "that it is linear", kTransfers,
     [](Options& options, const Argument& argument) {
         options.motionTransfer = argument.AsChoice();
     }, {.toldWhenNone = true}},
    {kVerbPictures, kMotion, {}, "--motion-from", "CLIP", "measure motion on this clip, of the "
     "same size and length, and apply it to INPUT", {}, SetMotionFrom},
    {kVerbVectors, kMotion, {}, "--motion-from", "CLIP", "measure motion on this clip, of the "
     "same size and length, instead of INPUT", {}, SetMotionFrom},

    {kVerbTimes, kMotion, {}, "--compensate", "N", "motion blur to fit the new speed, 0 to 5: "
     "adds blur along the motion where the clip is sped up, sharpens along it where it is slowed "
     "down", {},
     [](Options& options, const Argument& argument) {
         options.compensate = AsFloat(argument.AsDecimal(0, kGreatestCompensation));
     }, {.whenNone = "0"}},

    {kVerbAll, kElsewhere, {}, "--guides", "FILE", "tracked points that the motion follows where "
     "they are; a table, tracks as blocks, keyframe text or JSON; up to 10 times", {}, AddGuides,
     {.mostTimes = kMostGuideFiles}},
    {kVerbPictures, kElsewhere, {}, "--guides-layer", "N", "the layer that they lie on, counted "
     "from the front: 0 is that of the first --matte, or the whole frame without mattes, and as "
     "many as there are mattes is the background; once for all files or once for each", {},
     AddGuidesLayer, {.mostTimes = kMostGuideFiles, .whenNone = "0"}},
    {kVerbAll, kElsewhere, {}, "--guides-origin", "EDGE", "the edge that their y counts from: up "
     "from the bottom line or down from the top line; whole numbers are pixel centres", kOrigins,
     [](Options& options, const Argument& argument) {
         options.guidesOrigin = argument.AsChoice();
     }},
    {kVerbAll, kElsewhere, {}, "--guides-first", "N", "the number that the files give frame 0 of "
     "INPUT", {},
     [](Options& options, const Argument& argument) {
         options.guidesFirst = argument.AsInteger(-kMostFrames, kMostFrames);
     }, {.whenNone = "0"}},
    {kVerbAll, kElsewhere, {}, "--flow", "SOURCE", "where the motion of their layer comes from: "
     "the pictures, drawn to the points, or the points alone; once for all files or once for each",
     kFlows, AddFlowSource, {.mostTimes = kMostGuideFiles}},
    {kVerbAll, kElsewhere, {}, "--forward-vectors", "CLIP", "take the motion from each frame to "
     "the one after it from this clip, of the same size: its frame k belongs to frame k of INPUT; "
     "with this clip or the next alone the other motion is its reverse", {}, SetForwardVectors},
    {kVerbAll, kElsewhere, {}, "--backward-vectors", "CLIP", "take that from each frame to the "
     "one before it from this clip", {}, SetBackwardVectors},
    {kVerbAll, kElsewhere, {}, "--vectors-format", "FORMAT", "coded: red and green code x and y, "
     "with 127 of 254, 32767 of 65534 or 0.5 of 1 for no motion, and less than full alpha means "
     "no vector; pixels: channels with names hold pixels of the frame", kFormats,
     [](Options& options, const Argument& argument) {
         options.vectors.format = argument.AsChoice();
     }},
    {kVerbAll, kElsewhere, {}, "--vector-scale", "S", "pixels that a coded 254, 65534 or 1 stands "
     "for; times pixels of the other format", {}, SetVectorScale,
     {.whenNone = "1", .toldWhenNone = true}},
    {kVerbAll, kElsewhere, {}, "--vector-scale-xy", "X,Y", "the same for each axis by itself, on "
     "top of it", {}, SetVectorScaleXY, {.whenNone = "1,1", .toldWhenNone = true}},
    {kVerbAll, kElsewhere, {}, "--vector-channels", "U,V", "the channels of the pixels format; "
     "when not given forward.u,forward.v or backward.u,backward.v, or else motion.x,motion.y, or "
     "the two that are there; once for both clips or once for each, the forward one first", {},
     AddVectorChannels, {.mostTimes = kMostVectorClips}},
    {kVerbAll, kElsewhere, {}, "--vector-sign", "WAY", "to: a pixel's vector leads to its place "
     "in the other frame; from: back from there", kSigns,
     [](Options& options, const Argument& argument) {
         options.vectors.sign = argument.AsChoice();
     }},
    {kVerbAll, kElsewhere, {}, "--vector-y", "WAY", "the way of positive y", kUpDown,
     [](Options& options, const Argument& argument) {
         options.vectors.upwards = argument.AsChoice();
     }},

    {kVerbPictures, kFields, {}, "--input-fields", "FIELD", "the field that comes first in INPUT, and "
     "in the clips that go with it, where each frame holds two; upper is the one with the "
     "picture's top line; auto is what a movie says of itself, and none where it says nothing",
     kInputFields,
     [](Options& options, const Argument& argument) {
         options.inputFields = argument.AsChoice();
     }, {.toldWhenNone = true}},
    {kVerbTimes, kFields, {}, "--output-fields", "FIELD", "render two fields a frame, this one "
     "first, half a frame apart", kOutputFields,
     [](Options& options, const Argument& argument) {
         options.outputFields = argument.AsChoice();
     }},

    {kVerbPictures, kLayers, {}, "--matte", "CLIP", "what is white in this clip is a foreground that "
     "moves on its own; frame k belongs to frame k of INPUT; up to 9 times, the frontmost first",
     {}, AddMatte, {.mostTimes = kMostMattes}},
    {kVerbPictures, kLayers, {}, "--matte-channel", "CHANNEL", "the channel of all mattes", kChannels,
     [](Options& options, const Argument& argument) {
         options.matteChannel = argument.AsChoice();
     }},
    {kVerbPictures, kLayers, {}, "--matte-levels", "BLACK,WHITE", "stretch the matte: BLACK and below "
     "become 0, WHITE and above full white, both in the matte's own values: 0 to 255 for 8 bits, 0 "
     "to 65535 for 16, as stored for float; once for all mattes or once for each", {},
     AddMatteLevels, {.mostTimes = kMostMattes}},
    {kVerbPictures, kLayers, {}, "--matte-shrink", "N", "FG Inv Matte Shrink, 0 to 4: how many pixels "
     "wider than the foreground the hole is that it cuts into what lies behind; soft edges move "
     "farther than hard ones and harden; once for all mattes or once for each", {}, AddMatteShrink,
     {.mostTimes = kMostMattes, .whenNone = "0"}},
    {kVerbPictures, kLayers, {}, "--fg-sensitivity", "N", "FG Motion Sensitivity, 0 to 100; once for "
     "all mattes or once for each", {}, AddForegroundSensitivity,
     {.mostTimes = kMostMattes, .whenNone = "70"}},
    {kVerbTimes, kLayers, {}, "--view", "VIEW", "what to write: all layers, the background with "
     "its hole filled, the foreground over black, the mattes, or the motion in colours", kViews,
     [](Options& options, const Argument& argument) {
         options.view = static_cast<View>(argument.AsChoice());
     }},
    {kVerbTimes, kLayers, {}, "--flow-scale", "PIXELS", "motion from one source frame or "
     "field to the next that --view flow shows in full colour; by default a fortieth of the "
     "frame's longer side", {}, SetFlowScale},

    {kVerbCompare, kSheet, {}, "--cell-width", "N", "wider frames are scaled down to so many "
     "pixels", {},
     [](Options& options, const Argument& argument) {
         options.cellWidth = static_cast<int>(argument.AsInteger(kNarrowestCell, kWidestCell));
     }, {.whenNone = "800"}},
    {kVerbCompare, kSheet, {}, "--crop", "X,Y,WxH", "show this detail of the frame instead, pixel "
     "by pixel; its top left corner lies X from the left and Y from the top", {},
     [](Options& options, const Argument& argument) {
         options.crop = argument.AsWindow();
     }},

    {kVerbAll, kRun, {}, "--setup", "FILE", "take options from this TOML file, which has them by the same "
     "names: --frames, and all but those under Run and Sheet and above the headings; the command line "
     "wins; names of clips are read as on the command line", {}, SetSetupFile<&SetupOptions::from>},
    {kVerbAll, kRun, {}, "--write-setup", "FILE", "write such a file with all that is in effect as "
     "the run begins", {}, SetSetupFile<&SetupOptions::to>},
    {kVerbTimes | kVerbVectors | kVerbSparkRender | kVerbVerify, kRun, {}, "--frames", "LIST", "only these output "
     "frames, counted from 0: 7, 7-9, 7-, 0-100x10, or a list of these with commas", {}, SetFrames},
    {kVerbAll | kVerbSparkRender | kVerbScenes, kRun, {}, "--threads", "N", "1 to 64; by default the processors that this process "
     "may use", {},
     [](Options& options, const Argument& argument) {
         options.threads = static_cast<int>(argument.AsInteger(1, 64));
     }},
    {kVerbRetime, kRun, {}, "--depth", "DEPTH", "of the output's samples; by default that of the "
     "input where the output's format can hold it", kDepths,
     [](Options& options, const Argument& argument) {
         options.depth = static_cast<SampleDepth>(argument.AsChoice());
     }, {.firstIsDefault = false}},
    {kVerbRetime, kRun, {}, "--pipe", "FORMAT", "what -o - writes; by default as INPUT comes through a "
     "pipe, else y4m for 8 bits without alpha, and nut, which holds RGB as it is, for all else",
     kPipes,
     [](Options& options, const Argument& argument) {
         options.pipe = static_cast<PipeFormat>(argument.AsChoice());
     }, {.firstIsDefault = false}},
    {kVerbRetime | kVerbVectors | kVerbSparkRender, kRun, {}, "--start-number", "N", "number of output frame 0 in the names of a "
     "sequence; by default the input's first", {},
     [](Options& options, const Argument& argument) {
         options.startNumber = static_cast<int>(argument.AsInteger(0, 999999999));
     }},
    {kVerbTimes, kRun, {}, "--no-cache", {}, "estimate anew for every frame", {},
     [](Options& options, const Argument&) { options.keepFlows = false; }},
    {kVerbAll | kVerbSparkRender | kVerbScenes, kRun, {}, "--overwrite", {}, "replace output that is there already", {},
     [](Options& options, const Argument&) { options.overwrite = true; }},
    {kVerbRetime, kRun, {}, "--resume", {}, "keep the frames that are there whole and were made with "
     "the same settings of the same input, and render the others", {},
     [](Options& options, const Argument&) { options.job.resume = true; }},
    {kVerbTimes, kRun, {}, "--chunk", "I/N", "only the I-th of N parts of about the same cost, "
     "for N machines; a clip of few source frames may leave some of them nothing to do", {},
     SetChunk},
    {kVerbRetime, kRun, {}, "--continue-on-error", {}, "leave frames out that cannot be rendered, "
     "say which, and end with code 5", {},
     [](Options& options, const Argument&) { options.job.continueOnError = true; }},
    {kVerbAll, kRun, {}, "--missing", "HOW", "what stands in for a number that the sequence INPUT "
     "lacks: nothing, the frame before it, or one computed from the frames on both sides", kMissing,
     [](Options& options, const Argument& argument) {
         options.missing = static_cast<MissingFrames>(argument.AsChoice());
     }},
    {kVerbRetime, kRun, {}, "--log", "FILE", "add what happens to this file, each line with the "
     "time", {}, SetLog},
    {kVerbAll | kVerbSparkRender | kVerbScenes, kRun, {}, "--progress", "STYLE", "a bar on a terminal and plain lines elsewhere, "
     "plain lines, one JSON object a line, or nothing", kStyles,
     [](Options& options, const Argument& argument) {
         options.progress = static_cast<ProgressStyle>(argument.AsChoice());
     }},
    {kVerbAll | kVerbSparkRender | kVerbVerify | kVerbScenes, kRun, "-q", "--quiet", {}, "say nothing but errors", {},
     [](Options& options, const Argument&) { options.quiet = true; }},
    {kVerbRetime, kRun, "-v", "--verbose", {}, "tell settings, sizes and what is estimated", {},
     [](Options& options, const Argument&) { options.verbose = true; }},
};
// clang-format on

}  // namespace

std::span<const OptionEntry> OptionTable() {
    return kOptions;
}

std::vector<const OptionEntry*> OptionsOf(Verb verb) {
    std::vector<const OptionEntry*> options;
    for (const OptionEntry& option : kOptions) {
        if (option.verbs & verb) options.push_back(&option);
    }
    return options;
}

bool BelongsInSetup(const OptionEntry& option) {
    return !option.group.empty() && option.group != kRun && option.group != kSheet &&
           option.group != kHostClips && option.group != kPanel;
}

}  // namespace velorin
