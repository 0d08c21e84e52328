#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "cli/compare.h"
#include "cli/completion.h"
#include "cli/exit_codes.h"
#include "cli/given_options.h"
#include "cli/info.h"
#include "cli/man_page.h"
#include "cli/nearest_name.h"
#include "cli/option_help.h"
#include "cli/options.h"
#include "cli/panel_dump.h"
#include "cli/plan.h"
#include "cli/retime.h"
#include "cli/scenes.h"
#include "cli/spark_render.h"
#include "cli/standard_streams.h"
#include "cli/stop_request.h"
#include "cli/terminal_style.h"
#include "cli/vectors.h"
#include "cli/verb_texts.h"
#include "cli/verify.h"
#include "cli/version_text.h"
#include "image/err.h"
#include "media/clip.h"
#include "spark_host/spark_panel.h"

namespace velorin {

namespace {

// On one line, whatever a library had to say.
int Fail(int code, std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    const std::string name = BoldRed("velorin:", TakesColour(STDERR_FILENO));
    std::fprintf(stderr, "%s %s\n", name.c_str(), text.c_str());
    return code;
}

int CodeOf(const MediaError& failure) {
    switch (failure.kind) {
        case MediaError::Kind::kInput:
            return kExitInput;
        case MediaError::Kind::kOutputExists:
            return kExitOutputExists;
        case MediaError::Kind::kStopped:
            return StopRequested();
        default:
            return kExitFailure;
    }
}

int Tell(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    return kExitDone;
}

int Run(Verb verb, int (*run)(const Options&), int count, char** words) {
    const std::optional<Options> options = ParseOptions(verb, count, words);
    if (!options) return Tell(HelpOf(verb, TakesColour(STDOUT_FILENO)));
    try {
        return run(*options);
    } catch (const UsageError& failure) {
        throw UsageError(WithOrigins(failure.what(), options->setup));
    }
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
    if (verb == "scenes") return Run(kVerbScenes, Scenes, count - 2, words + 2);
    if (verb == "info") return Run(kVerbInfo, Info, count - 2, words + 2);
    if (verb == "completion") return Run(kVerbCompletion, Completion, count - 2, words + 2);
    if (verb == "man") return Run(kVerbMan, Man, count - 2, words + 2);
    if (verb == "-h" || verb == "--help") return Tell(HelpOfProgram(TakesColour(STDOUT_FILENO)));
    if (verb == "--version") return Tell(VersionText());
    if (verb.empty()) throw UsageError("a verb is missing, such as retime; see velorin --help");
    std::vector<std::string_view> verbs;
    for (const VerbText& text : VerbTexts()) verbs.push_back(text.word);
    const std::string_view nearest = NearestName(verb, verbs);
    throw UsageError(std::string(verb) + " is not a verb; " +
                     (nearest.empty() ? "" : "the nearest is " + std::string(nearest) + "; ") +
                     "see velorin --help");
}

// Every failure of the program becomes one line and a code here.
int Main(int count, char** words) {
    try {
        OccupyStandardStreams();
        const int code = RunVerb(count, words);
        FinishStandardOutput();
        return code;
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
