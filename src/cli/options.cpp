#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>

namespace velorin {

namespace {

constexpr std::string_view kTime = "Time";
constexpr std::string_view kMotion = "Motion and mix";
constexpr std::string_view kRun = "Run";
constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();

constexpr Choice kInterps[] = {{"blend", 1}, {"nearest", 0}};
constexpr Choice kQualities[] = {{"best", 4},   {"full", 5},   {"high", 3},
                                 {"medium", 2}, {"sloppy", 1}, {"none", 0}};
constexpr Choice kWarps[] = {{"inverse", 0}};
constexpr Choice kPreps[] = {{"none", 0}, {"enhance", 1}};
constexpr Choice kDepths[] = {{"8", static_cast<int>(SampleDepth::kByte)},
                              {"16", static_cast<int>(SampleDepth::kWord)},
                              {"half", static_cast<int>(SampleDepth::kHalf)},
                              {"float", static_cast<int>(SampleDepth::kFloat)}};
constexpr Choice kStyles[] = {{"auto", static_cast<int>(ProgressStyle::kAuto)},
                              {"plain", static_cast<int>(ProgressStyle::kPlain)},
                              {"json", static_cast<int>(ProgressStyle::kJson)},
                              {"none", static_cast<int>(ProgressStyle::kNone)}};

void SetOutput(RetimeOptions& options, const Argument& argument) {
    if (argument.text == "-") argument.Refuse("name a file; standard output is not supported");
    if (argument.text.empty() || argument.text.starts_with('-')) {
        argument.Refuse("name a movie or a sequence such as slow.%04d.png");
    }
    options.output = argument.text;
}

void SetFrames(RetimeOptions& options, const Argument& argument) {
    std::optional<std::vector<FrameRange>> frames = ParseFrames(argument.text);
    if (!frames) argument.Refuse("give output frames such as 7, 7-9, 7-, 0-100x10 or 1,4,7-9");
    options.frames = *std::move(frames);
}

void SetSensitivity(RetimeOptions& options, const Argument& argument) {
    const Decimal value = argument.AsDecimal(0, 100);
    options.sensitivity = static_cast<float>(static_cast<double>(value.numerator) /
                                             static_cast<double>(value.denominator));
}

// clang-format off
constexpr OptionEntry kRetimeOptions[] = {
    {{}, "-o", "--output", "OUTPUT", "the movie or sequence to write", {}, SetOutput},

    {kTime, {}, "--speed", "S", "constant Speed Factor, 0 to 10; 1 when not given", {},
     [](RetimeOptions& options, const Argument& argument) {
         options.speed = argument.AsDecimal(0, 10);
     }},
    {kTime, {}, "--length", "N", "number of output frames; by default all whose source time lies "
     "inside the clip", {},
     [](RetimeOptions& options, const Argument& argument) {
         options.length = argument.AsInteger(1, kMostFrames);
     }},
    {kTime, {}, "--frames", "LIST", "render only these output frames, counted from 0: 7, 7-9, 7-, "
     "0-100x10, or a list of these with commas", {}, SetFrames},

    {kMotion, {}, "--interp", "METHOD", "how the two neighbours are mixed", kInterps,
     [](RetimeOptions& options, const Argument& argument) {
         options.interp = argument.AsChoice();
     }},
    {kMotion, {}, "--quality", "QUALITY", "size at which motion is estimated: best is half the "
     "frame's, full its own, none mixes without motion", kQualities,
     [](RetimeOptions& options, const Argument& argument) {
         options.quality = argument.AsChoice();
     }},
    {kMotion, {}, "--warp", "METHOD", "how frames are moved along the motion", kWarps,
     [](RetimeOptions& options, const Argument& argument) {
         options.warp = argument.AsChoice();
     }},
    {kMotion, {}, "--prep", "KIND", "preparation of what the estimator sees", kPreps,
     [](RetimeOptions& options, const Argument& argument) {
         options.enhance = argument.AsChoice();
     }},
    {kMotion, {}, "--sensitivity", "N", "Motion Sensitivity, 0 to 100; 70 when not given", {},
     SetSensitivity},

    {kRun, {}, "--threads", "N", "1 to 64; by default the processors that this process may use", {},
     [](RetimeOptions& options, const Argument& argument) {
         options.threads = static_cast<int>(argument.AsInteger(1, 64));
     }},
    {kRun, {}, "--depth", "DEPTH", "of the output's samples; by default that of the input where "
     "the output's format can hold it", kDepths,
     [](RetimeOptions& options, const Argument& argument) {
         options.depth = static_cast<SampleDepth>(argument.AsChoice());
     }},
    {kRun, {}, "--start-number", "N", "number of output frame 0 in the names of a sequence; by "
     "default the input's first", {},
     [](RetimeOptions& options, const Argument& argument) {
         options.startNumber = static_cast<int>(argument.AsInteger(0, 999999999));
     }},
    {kRun, {}, "--no-cache", {}, "estimate anew for every frame", {},
     [](RetimeOptions& options, const Argument&) { options.keepFlows = false; }},
    {kRun, {}, "--overwrite", {}, "replace output that is there already", {},
     [](RetimeOptions& options, const Argument&) { options.overwrite = true; }},
    {kRun, {}, "--progress", "STYLE", "a bar on a terminal and plain lines elsewhere, plain lines, "
     "one JSON object a line, or nothing", kStyles,
     [](RetimeOptions& options, const Argument& argument) {
         options.progress = static_cast<ProgressStyle>(argument.AsChoice());
     }},
    {kRun, "-q", "--quiet", {}, "say nothing but errors", {},
     [](RetimeOptions& options, const Argument&) { options.quiet = true; }},
    {kRun, "-v", "--verbose", {}, "tell settings, sizes and what is estimated", {},
     [](RetimeOptions& options, const Argument&) { options.verbose = true; }},
};
// clang-format on

constexpr std::string_view kUsage =
    "Usage: velorin retime INPUT -o OUTPUT [options]\n"
    "\n"
    "INPUT and OUTPUT are each a movie or an image sequence: shot.%04d.png, shot.####.png, or for\n"
    "INPUT a folder that holds one sequence. Frames count from 0; the numbers in a sequence's\n"
    "names go on from the input's first.\n";

constexpr std::string_view kExamples =
    "Examples:\n"
    "  velorin retime shot.mov -o slow.mov --speed 0.4\n"
    "  velorin retime plates/shot.%04d.exr -o slow/shot.%04d.exr --speed 0.25 --quality full\n"
    "  velorin retime shot.####.png -o test.####.png --speed 0.5 --frames 40-59 --interp nearest\n";

constexpr std::size_t kHelpColumn = 26;
constexpr std::size_t kHelpWidth = 96;

// Appends `text` from the help column on, broken at spaces.
void AppendWrapped(std::string& help, std::string_view text) {
    const std::size_t room = kHelpWidth - kHelpColumn;
    while (text.size() > room) {
        const std::size_t space = text.rfind(' ', room);
        help.append(text.substr(0, space)).append("\n").append(kHelpColumn, ' ');
        text.remove_prefix(space + 1);
    }
    help.append(text).append("\n");
}

std::string ListOf(std::span<const Choice> choices) {
    std::string list;
    for (const Choice& choice : choices) {
        list.append(list.empty() ? "" : ", ").append(choice.word);
    }
    return list;
}

void AppendOption(std::string& help, const OptionEntry& option) {
    std::string left = option.letter.empty() ? "      " : "  " + std::string(option.letter) + ", ";
    left.append(option.name);
    if (!option.value.empty()) left.append(" ").append(option.value);
    left.resize(std::max(left.size() + 2, kHelpColumn), ' ');
    help.append(left);
    std::string right(option.help);
    if (!option.choices.empty()) right.append(": " + ListOf(option.choices) + " (first: default)");
    AppendWrapped(help, right);
}

std::string ParserName(const OptionEntry& option) {
    std::string names(option.letter);
    if (!names.empty()) names.append(",");
    return names.append(option.name);
}

// How messages call an option: as most users write it.
std::string CalledName(const OptionEntry& option) {
    return std::string(option.letter.empty() ? option.name : option.letter);
}

void SetFrom(RetimeOptions& options, const OptionEntry& option,
             const std::vector<std::string>& values) {
    if (values.size() > 1) throw UsageError(CalledName(option) + " is given twice");
    if (option.value.empty() && values[0] != "true") {
        throw UsageError(CalledName(option) + " takes no value");
    }
    option.set(options, {option, values[0]});
}

// What the parser could not place: options that are not known, or words beyond INPUT.
void RefuseExtras(const std::vector<std::string>& extras) {
    if (extras.empty()) return;
    for (const std::string& extra : extras) {
        if (extra.starts_with('-')) {
            throw UsageError(extra.substr(0, extra.find('=')) +
                             " is not an option of velorin retime; see velorin retime --help");
        }
    }
    throw UsageError(extras[0] + " is one name too many: give one INPUT, and the output with -o");
}

}  // namespace

void Argument::Refuse(const std::string& whatWouldBeRight) const {
    const std::string given = text.empty() ? "needs a value" : std::string(text);
    throw UsageError(CalledName(option) + " " + given + ": " + whatWouldBeRight);
}

int Argument::AsChoice() const {
    for (const Choice& choice : option.choices) {
        if (choice.word == text) return choice.value;
    }
    Refuse((option.choices.size() > 1 ? "give one of " : "give ") + ListOf(option.choices));
}

std::int64_t Argument::AsInteger(std::int64_t low, std::int64_t high) const {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc() || rest != end || value < low || value > high) {
        Refuse("give a whole number from " + std::to_string(low) + " to " + std::to_string(high));
    }
    return value;
}

Decimal Argument::AsDecimal(std::int64_t low, std::int64_t high) const {
    const std::optional<Decimal> value = ParseDecimal(text);
    if (!value || value->numerator < low * value->denominator ||
        value->numerator > high * value->denominator) {
        Refuse("give a number from " + std::to_string(low) + " to " + std::to_string(high) +
               " with at most 9 digits after the point");
    }
    return *value;
}

std::span<const OptionEntry> RetimeOptionTable() {
    return kRetimeOptions;
}

std::string_view ChoiceWord(std::string_view option, int value) {
    for (const OptionEntry& entry : kRetimeOptions) {
        if (entry.name != option) continue;
        for (const Choice& choice : entry.choices) {
            if (choice.value == value) return choice.word;
        }
    }
    return {};
}

std::optional<RetimeOptions> ParseRetime(int count, const char* const* words) {
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    const CLI::Option* help = parser.add_flag("-h,--help");
    RetimeOptions options;
    parser.add_option("input", options.input);
    std::vector<CLI::Option*> given;
    for (const OptionEntry& option : kRetimeOptions) {
        given.push_back(option.value.empty() ? parser.add_flag(ParserName(option))
                                             : parser.add_option(ParserName(option))->expected(1));
        given.back()->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
    try {
        // Words in reverse order, as the parser wants them.
        parser.parse(std::vector<std::string>(std::make_reverse_iterator(words + count),
                                              std::make_reverse_iterator(words)));
    } catch (const CLI::ArgumentMismatch&) {
        // Every option takes one value at most, so it is the last word that lacks its own.
        throw UsageError(std::string(words[count - 1]) +
                         " needs a value; see velorin retime --help");
    } catch (const CLI::ParseError& failure) {
        throw UsageError(failure.what());
    }
    if (help->count() > 0) return std::nullopt;
    RefuseExtras(parser.remaining());
    for (std::size_t i = 0; i < given.size(); ++i) {
        if (given[i]->count() > 0) SetFrom(options, kRetimeOptions[i], given[i]->results());
    }
    if (options.input.empty()) throw UsageError("INPUT is missing: velorin retime INPUT -o OUTPUT");
    if (options.output.empty()) throw UsageError("-o OUTPUT is missing: say where to write");
    return options;
}

std::string RetimeHelp() {
    std::string help(kExamples);
    help.append("\n").append(kUsage);
    std::string_view group = kTime;
    help.append("\n");
    AppendOption(help, kRetimeOptions[0]);
    for (const OptionEntry& option : RetimeOptionTable().subspan(1)) {
        if (option.group != group || &option == &kRetimeOptions[1]) {
            group = option.group;
            help.append("\n").append(group).append(":\n");
        }
        AppendOption(help, option);
    }
    return help;
}

}  // namespace velorin
