#include "cli/job_options.h"

#include <algorithm>
#include <iterator>

#include "cli/fields.h"
#include "media/movie_format.h"
#include "media/number_ranges.h"

namespace velorin {

namespace {

// Measured on one thread: the first on PNG of filmed frames, the others as docs/performance.md
// tells.
constexpr std::int64_t kFileCost = 120;
constexpr std::int64_t kMixCost = 30;
constexpr std::int64_t kMixCostOfLayer = 170;
constexpr std::int64_t kPairCost = 160;

void RefuseForMovie(const Options& options, bool given, const std::string& option,
                    const std::string& why) {
    if (!given || !IsMovieName(options.output)) return;
    throw UsageError(option + ": " + why +
                     "; render a sequence such as slow.%04d.png, and then make the movie of it "
                     "with velorin retime");
}

}  // namespace

void SetChunk(Options& options, const Argument& argument) {
    options.job.chunk = ParseChunk(argument.text);
    if (!options.job.chunk) argument.Refuse("give I/N, such as 2/8 for the second of eight chunks");
}

void SetLog(Options& options, const Argument& argument) {
    if (argument.text.empty()) argument.Refuse("name a file");
    options.job.log = argument.text;
}

void CompleteJobOptions(const Options& options) {
    const JobOptions& job = options.job;
    if (job.resume && options.overwrite) {
        throw UsageError(
            "--resume and --overwrite: give one of them; --resume keeps what is finished");
    }
    RefuseForMovie(options, job.chunk.has_value(), "--chunk", "a movie is written in one go");
    RefuseForMovie(options, job.continueOnError, "--continue-on-error",
                   "a movie has no place for frames that are missing");
}

FrameCosts CostsOf(const Options& options) {
    FrameCosts costs{kFileCost, kMixCost, kPairCost, options.keepFlows};
    const auto layers = static_cast<std::int64_t>(options.mattes.size()) + 1;
    if (layers > 1) costs.mix = kMixCostOfLayer * layers;
    costs.pair *= layers;
    if (options.quality == 5) costs.pair *= 4;
    for (int quality = options.quality; quality < 4; ++quality) costs.pair /= 4;
    return costs;
}

std::vector<std::int64_t> HolesOf(const Options& options, const ClipInfo& source) {
    const std::vector<std::int64_t>& repeats = options.look.repeats;
    std::vector<std::int64_t> holes;
    std::set_difference(source.missing.begin(), source.missing.end(), repeats.begin(),
                        repeats.end(), std::back_inserter(holes));
    return holes;
}

std::string HolesText(const Options& options, const ClipInfo& source) {
    std::vector<std::int64_t> numbers = HolesOf(options, source);
    for (std::int64_t& number : numbers) number += source.firstNumber;
    return source.name + ": " + std::to_string(numbers.size()) +
           (numbers.size() == 1 ? " frame is" : " frames are") + " missing, of the numbers " +
           std::to_string(source.firstNumber) + " to " +
           std::to_string(source.firstNumber + source.frames - 1) + ": " + NumberRanges(numbers);
}

void CheckHoles(const Options& options, const ClipInfo& source) {
    if (source.missing.empty()) return;
    if (options.missing == MissingFrames::kError) {
        throw MediaError(MediaError::Kind::kInput,
                         HolesText(options, source) +
                             "; render or copy them, or give --missing hold or --missing "
                             "interpolate");
    }
    if (options.missing == MissingFrames::kInterpolate && InputFieldsOf(options, source) != 0) {
        throw UsageError(
            "--missing interpolate: needs whole frames and not fields; give --missing hold");
    }
}

}  // namespace velorin
