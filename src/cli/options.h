#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/frame_list.h"
#include "cli/time_law.h"
#include "media/clip.h"

namespace velorin {

// What is wrong with the words of a command line: names the option and says what would be right.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

enum class ProgressStyle { kAuto, kPlain, kJson, kNone };

// What `velorin retime` was asked for. Numbers are those of the engine.
struct RetimeOptions {
    std::string input;
    std::string output;
    Decimal speed{1, 1};
    std::optional<std::int64_t> length;
    std::vector<FrameRange> frames;  // empty: all of them
    int interp = 1;                  // 0 nearest, 1 blend
    int quality = 4;                 // see KQVelorin4::RenderFrame
    int warp = 0;                    // 0 inverse
    int enhance = 0;
    float sensitivity = 70.0f;  // 0 to 100
    int threads = 0;            // 0: as many as there are processors
    std::optional<SampleDepth> depth;
    std::optional<int> startNumber;
    bool keepFlows = true;
    bool overwrite = false;
    ProgressStyle progress = ProgressStyle::kAuto;
    bool quiet = false;
    bool verbose = false;
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
    [[noreturn]] void Refuse(const std::string& whatWouldBeRight) const;
};

// An option of `velorin retime`. The one table of them serves the parser and the help.
struct OptionEntry {
    std::string_view group;
    std::string_view letter;  // "-o", or empty
    std::string_view name;    // "--output"
    std::string_view value;   // stands for the value in the help; empty for a flag
    std::string_view help;
    std::span<const Choice> choices;  // empty: any text; else the default first
    void (*set)(RetimeOptions& options, const Argument& argument);
};

std::span<const OptionEntry> RetimeOptionTable();

// The word by which `option`, such as "--quality", takes `value`; empty when there is none.
std::string_view ChoiceWord(std::string_view option, int value);

// Reads the words after `velorin retime`. Nothing when they ask for the help. Throws UsageError.
std::optional<RetimeOptions> ParseRetime(int count, const char* const* words);

// Examples first, then every option.
std::string RetimeHelp();

}  // namespace velorin
