#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/chunk.h"
#include "cli/curve.h"
#include "cli/frame_list.h"
#include "cli/scene_marks.h"
#include "cli/time_law.h"
#include "media/clip.h"
#include "media/converted_clip.h"

namespace velorin {

// What is wrong with the words of a command line: names the option and says what would be right.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What the program can be told to do. Sets of verbs are sums.
enum Verb {
    kVerbRetime = 1,
    kVerbCompare = 2,
    kVerbVectors = 4,
    kVerbPanelDump = 8,
    kVerbSparkRender = 16,
    kVerbPlan = 32,  // takes what retime does, so that a command line serves both
    kVerbVerify = 64,
    kVerbScenes = 128,
    kVerbInfo = 256,
    kVerbCompletion = 512,
    kVerbMan = 1024,
    kVerbTimes = kVerbRetime | kVerbPlan,
    kVerbPictures = kVerbTimes | kVerbCompare,
    kVerbAll = kVerbPictures | kVerbVectors  // that ask the engine
};

enum class ProgressStyle { kAuto, kPlain, kJson, kNone };

// What the output shows: layers, or how they are told apart and moved.
enum class View { kOutput, kBackground, kForeground, kMatte, kFlow };

// Where the motion of a layer with guide points comes from: the pictures, drawn to the points, or
// the points alone.
enum FlowSource { kFlowEstimated, kFlowOfPoints };
// How vector clips hold their vectors: as coded colours, or as pixels in channels with names.
enum VectorsFormat { kCodedVectors, kPixelVectors };

// How vector clips are read.
struct VectorOptions {
    std::optional<int> format;                       // a VectorsFormat
    std::optional<float> scale;                      // times both components; 1 when not given
    std::optional<std::pair<float, float>> scaleXY;  // times x and y
    // Names of u and v; an entry for each clip, forward first, as soon as the command line is read.
    std::vector<std::optional<std::pair<std::string, std::string>>> channels;
    std::optional<int> sign;     // 1: to the other frame; -1: from there
    std::optional<int> upwards;  // 1: positive v is up; -1: down
};

// On what tones motion is measured: those of the pictures, or compressed ones; auto compresses
// those that are proportional to light.
enum MotionTransfer { kTransferNone, kTransferLog, kTransferAuto };

// What becomes of the input's sound: speed and pitch together, speed with the pitch kept, nothing.
enum AudioMode { kAudioPitch, kAudioStretch, kAudioDrop };

// What stands in for a number that an input sequence lacks.
enum class MissingFrames { kError, kHold, kInterpolate };

// What is found out by a look at the whole input, and how.
struct LookOptions {
    bool findsScenes = false;        // instead of being given them
    std::string sceneFile;           // to take them from; empty: none
    std::optional<float> threshold;  // of a cut's score
    std::optional<std::int64_t> minLength;
    bool tellsScores = false;
    bool dedupes = false;               // computes frames anew that only repeat the one before
    std::optional<float> tolerance;     // of such a repetition
    std::vector<std::int64_t> repeats;  // those found, ascending
};

// How a long job is run.
struct JobOptions {
    bool resume = false;
    bool continueOnError = false;
    std::optional<Chunk> chunk;
    std::string log;  // file; empty: none
};

// How a compositing host holds frames.
enum HostFormat { kHostByte, kHostTwelveBits, kHostHalf };

// Of the verbs that load a plug-in; `input` names it.
struct PluginOptions {
    std::string setup;  // file; empty: the panel as it is at first
    std::string front;  // clips; the last two empty: black
    std::string back;
    std::string matte;
    std::vector<std::string> settings;  // values of controls, on top of the setup's
    std::optional<int> format;          // a HostFormat; by default the front clip's
};

// Options kept in a file.
struct SetupOptions {
    std::string from;  // files; empty: none
    std::string to;
    std::string text;  // for the second of them
    // The options that came from the first one, and the line that each stands in.
    std::vector<std::pair<std::string, std::string>> origins;
};

// The number of --input-fields that leaves the choice to the input.
inline constexpr int kFieldsOfClip = 3;

// What a verb was asked for. Numbers are those of the engine.
struct Options {
    std::string input;
    std::string output;
    int quality = 4;  // see KQVelorin4::RenderFrame
    int enhance = 0;
    float sensitivity = 70.0f;  // 0 to 100
    int threads = 0;            // 0: as many as there are processors
    bool overwrite = false;
    ProgressStyle progress = ProgressStyle::kAuto;
    bool quiet = false;
    MissingFrames missing = MissingFrames::kError;
    JobOptions job;
    std::optional<int> inputFields;  // 0 none, 1 upper first, 2 lower first, or kFieldsOfClip

    std::string motionFrom;             // clip that motion is measured on; empty: the input
    std::optional<int> motionTransfer;  // a MotionTransfer
    std::vector<std::string> guides;    // files of tracked points
    // Each of these two has an entry for every file, as soon as the command line is read.
    std::vector<int> guidesLayers;    // counted from the front
    std::vector<int> flowSources;     // a FlowSource
    std::optional<int> guidesOrigin;  // 0: y counts up from the bottom line; 1: down from the top
    std::optional<std::int64_t> guidesFirst;  // number that the files give frame 0; 0
    std::string forwardVectors;               // clips that replace estimated motion; empty: none
    std::string backwardVectors;
    VectorOptions vectors;
    std::vector<std::string> mattes;  // clips, the frontmost layer's first
    std::optional<int> matteChannel;  // 0 red, 1 green, 2 blue
    // Each of them has an entry for every matte, as soon as the command line is read.
    std::vector<float> fgSensitivities;  // 0 to 100
    std::vector<float> matteShrinks;     // in pixels
    std::vector<std::optional<MatteLevels>> matteLevels;

    // Of `velorin retime`.
    // Laws of time: one of them at most; without one the speed is 1.
    std::optional<Decimal> speed;
    std::optional<Curve> speedCurve;
    std::optional<Curve> frameCurve;
    std::string curveFile;
    std::optional<std::int64_t> fitLength;
    std::optional<Rational> fitRate;
    std::optional<std::int64_t> length;
    SceneMarks scenes;
    LookOptions look;
    std::vector<FrameRange> frames;  // empty: all of them
    int interp = 1;                  // 0 nearest, 1 blend, 2 weighted energy blend
    int warp = 0;                    // 0 inverse, 1 inverse and smart blend, 2 forward
    float compensate = 0.0f;         // 0 to 5
    std::optional<int> audio;        // an AudioMode
    int outputFields = 0;            // 0 none, 1 upper first, 2 lower first
    std::optional<SampleDepth> depth;
    std::optional<int> startNumber;
    std::optional<PipeFormat> pipe;  // of standard output
    bool keepFlows = true;
    bool verbose = false;
    View view = View::kOutput;
    std::optional<float> flowScale;  // see --view flow

    // Of `velorin plan`.
    std::string plot;  // picture to draw the law into; empty: none

    // Of `velorin compare`.
    Decimal at;
    std::optional<int> cellWidth;
    std::optional<Window> crop;

    bool json = false;  // of the verbs that tell something
    PluginOptions plugin;
    SetupOptions setup;
};

// A word that an option takes, and what it stands for.
struct Choice {
    std::string_view word;
    int value;
};

struct OptionEntry;

// An option's value on its way into the options. The calls below throw UsageError with a text that
// names the option when the value is not of that kind.
struct Argument {
    const OptionEntry& option;
    std::string_view text;

    int AsChoice() const;
    std::int64_t AsInteger(std::int64_t low, std::int64_t high) const;
    Decimal AsDecimal(std::int64_t low, std::int64_t high) const;
    // X,Y,WxH
    Window AsWindow() const;
    [[noreturn]] void Refuse(const std::string& whatWouldBeRight) const;
};

// The word by which `option`, such as "--quality", takes `value`; empty when there is none.
std::string_view ChoiceWord(std::string_view option, int value);

// Reads the words after `velorin VERB`. Nothing when they ask for the help. Throws UsageError.
std::optional<Options> ParseOptions(Verb verb, int count, const char* const* words);

}  // namespace velorin
