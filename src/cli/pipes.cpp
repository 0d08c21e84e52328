#include "cli/pipes.h"

#include <string>

#include "cli/time_options.h"

namespace velorin {

namespace {

void Refuse(bool given, const std::string& option, const std::string& why) {
    if (given) throw UsageError(option + ": " + why);
}

void CheckPipedInput(const Options& options) {
    const std::string unknown = "needs the length of the clip, which a pipe does not tell";
    Refuse(options.fitLength.has_value(), "--fit-length",
           unknown + "; give --speed, or name a file");
    Refuse(options.job.chunk.has_value(), "--chunk",
           unknown + "; give --frames A-B, or name a file");
    Refuse(options.job.resume, "--resume",
           "a pipe does not tell whether it carries the same pictures as before; name a file");
    const std::string looks =
        "looks through the clip before the run, and pictures of a pipe come once; ";
    Refuse(options.look.findsScenes, "--scenes auto", looks + "give keys, or name a file");
    Refuse(options.look.dedupes, "--dedupe", looks + "name a file");
}

void CheckPipedOutput(const Options& options) {
    Refuse(options.job.chunk.has_value(), "--chunk",
           "chunks are files that are joined later; name a sequence such as slow.%04d.png");
    Refuse(options.job.resume, "--resume",
           "what went through a pipe cannot be looked at; name a file");
    Refuse(options.job.continueOnError, "--continue-on-error",
           "a stream has no place for frames that are missing; name a sequence such as "
           "slow.%04d.png");
}

}  // namespace

void CheckPipes(const Options& options) {
    Refuse(options.pipe && !WritesPipe(options), "--pipe",
           "tells what -o - writes; the format of a file is told by its name");
    if (ReadsPipe(options)) CheckPipedInput(options);
    if (WritesPipe(options)) CheckPipedOutput(options);
}

// Ways between keys do not turn.
void CheckPipedLaw(const Options& options, const LawFacts& law) {
    if (law.isSpeedCurve) return;
    for (std::size_t i = 1; i < law.keys.size(); ++i) {
        const CurveKey& from = law.keys[i - 1];
        const CurveKey& to = law.keys[i];
        const bool isBack = Int128{to.value.numerator} * from.value.denominator <
                            Int128{from.value.numerator} * to.value.denominator;
        Refuse(isBack, LawOption(options),
               "runs backwards from key " + std::to_string(from.frame) + ":" +
                   DecimalText(from.value) + " to key " + std::to_string(to.frame) + ":" +
                   DecimalText(to.value) +
                   ", and pictures of a pipe are gone once they have come; name a file");
    }
}

PipeFormat PipeFormatFor(const Options& options, const RunPlan& plan) {
    if (options.pipe) return *options.pipe;
    if (plan.source.pipe) return *plan.source.pipe;
    const bool holds = plan.depth == SampleDepth::kByte && plan.source.channels % 2 == 1;
    return holds ? PipeFormat::kY4m : PipeFormat::kNut;
}

void NotePipe(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    if (!WritesPipe(options)) return;
    const PipeFormat format = PipeFormatFor(options, plan);
    const bool painted = options.view == View::kMatte || options.view == View::kFlow;
    if (plan.source.channels % 2 == 0 && !painted && !PipeCanHoldAlpha(format)) {
        progress.Note("--pipe y4m: cannot hold the input's alpha, which is left out; nut can");
    }
    if (plan.request.outputFields != 0 && !PipeCanMarkFields(format)) {
        progress.Note("--pipe nut: holds the fields but cannot be marked as interlaced; y4m can");
    }
}

}  // namespace velorin
