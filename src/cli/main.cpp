#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "cli/compare.h"
#include "cli/exit_codes.h"
#include "cli/options.h"
#include "cli/panel_dump.h"
#include "cli/plan.h"
#include "cli/retime.h"
#include "cli/spark_render.h"
#include "cli/vectors.h"
#include "cli/verify.h"
#include "image/err.h"
#include "media/clip.h"
#include "spark_host/spark_panel.h"

namespace velorin {

namespace {

constexpr char kHelp[] =
    "Usage: velorin VERB ...\n"
    "\n"
    "Computes the frames of a shot at another speed, by its motion.\n"
    "\n"
    "Verbs:\n"
    "  retime INPUT -o OUTPUT [options]   render a clip at another speed\n"
    "  plan INPUT [options]               tell what that would do, and draw the law of time\n"
    "  compare INPUT --at TIME -o SHEET   render one moment with every method into one picture\n"
    "  vectors INPUT -o OUTPUT [options]  write how the pixels of a clip move\n"
    "  verify OUTPUT [options]            look whether an output is whole and of one piece\n"
    "  panel-dump PLUGIN.so [--json]      tell the controls of a plug-in\n"
    "  spark-render PLUGIN.so --front CLIP -o OUTPUT [options]\n"
    "                                     render through a plug-in as a compositing host does\n"
    "\n"
    "velorin VERB --help tells all options of a verb.\n"
    "\n"
    "  -h, --help                         this text\n"
    "  --version                          the version of the program\n";

// On one line, whatever a library had to say.
int Fail(int code, std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::fprintf(stderr, "velorin: %s\n", text.c_str());
    return code;
}

int CodeOf(const MediaError& failure) {
    switch (failure.kind) {
        case MediaError::Kind::kInput:
            return kExitInput;
        case MediaError::Kind::kOutputExists:
            return kExitOutputExists;
        default:
            return kExitFailure;
    }
}

int Run(Verb verb, int (*run)(const Options&), int count, char** words) {
    const std::optional<Options> options = ParseOptions(verb, count, words);
    if (options) return run(*options);
    std::fputs(HelpOf(verb).c_str(), stdout);
    return kExitDone;
}

int RunVerb(int count, char** words) {
    const std::string_view verb = count > 1 ? words[1] : "";
    if (verb == "retime") return Run(kVerbRetime, Retime, count - 2, words + 2);
    if (verb == "plan") return Run(kVerbPlan, Plan, count - 2, words + 2);
    if (verb == "compare") return Run(kVerbCompare, Compare, count - 2, words + 2);
    if (verb == "vectors") return Run(kVerbVectors, Vectors, count - 2, words + 2);
    if (verb == "verify") return Run(kVerbVerify, Verify, count - 2, words + 2);
    if (verb == "panel-dump") return Run(kVerbPanelDump, PanelDump, count - 2, words + 2);
    if (verb == "spark-render") return Run(kVerbSparkRender, SparkRender, count - 2, words + 2);
    if (verb == "-h" || verb == "--help") {
        std::fputs(kHelp, stdout);
        return kExitDone;
    }
    if (verb == "--version") {
        std::puts("velorin " VELORIN_VERSION);
        return kExitDone;
    }
    if (verb.empty()) throw UsageError("a verb is missing, such as retime; see velorin --help");
    throw UsageError(std::string(verb) + " is not a verb; see velorin --help");
}

// Every failure of the program becomes one line and a code here.
int Main(int count, char** words) {
    try {
        return RunVerb(count, words);
    } catch (const UsageError& failure) {
        return Fail(kExitUsage, failure.what());
    } catch (const MediaError& failure) {
        const int code = CodeOf(failure);
        const std::string advice = code == kExitOutputExists ? " with --overwrite" : "";
        return Fail(code, failure.what() + advice);
    } catch (const SparkHostError& failure) {
        return Fail(kExitInput, failure.what());
    } catch (const std::bad_alloc&) {
        return Fail(kExitFailure, "out of memory; smaller frames or a coarser --quality need less");
    } catch (const std::exception& failure) {
        return Fail(kExitFailure, failure.what());
    } catch (ZPErr failure) {
        return Fail(kExitFailure, "the engine failed with code " + std::to_string(failure));
    }
}

}  // namespace

}  // namespace velorin

int main(int count, char** words) {
    return velorin::Main(count, words);
}
