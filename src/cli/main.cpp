#include <unistd.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <string>
#include <string_view>
#include <vector>

#include "cli/compare.h"
#include "cli/completion.h"
#include "cli/given_options.h"
#include "cli/info.h"
#include "cli/man_page.h"
#include "cli/nearest_name.h"
#include "cli/option_help.h"
#include "cli/options.h"
#include "cli/panel_dump.h"
#include "cli/plan.h"
#include "cli/program.h"
#include "cli/retime.h"
#include "cli/scenes.h"
#include "cli/spark_render.h"
#include "cli/terminal_style.h"
#include "cli/vectors.h"
#include "cli/verb_texts.h"
#include "cli/verify.h"

namespace velorin {

namespace {

// Images come and go with each frame: what one gives back serves the next, where the system would
// hand it out anew, a cleared page at a time. Larger blocks than the first go to the system anyway.
void KeepFreedMemory() {
#ifdef __GLIBC__
    constexpr int kMegabyte = 1 << 20;
    mallopt(M_MMAP_THRESHOLD, 32 * kMegabyte);
    mallopt(M_TRIM_THRESHOLD, 1024 * kMegabyte);
    mallopt(M_TOP_PAD, 16 * kMegabyte);
#endif
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
    if (verb.empty()) throw UsageError("a verb is missing, such as retime; see velorin --help");
    std::vector<std::string_view> verbs;
    for (const VerbText& text : VerbTexts()) verbs.push_back(text.word);
    const std::string_view nearest = NearestName(verb, verbs);
    throw UsageError(std::string(verb) + " is not a verb; " +
                     (nearest.empty() ? "" : "the nearest is " + std::string(nearest) + "; ") +
                     "see velorin --help");
}

}  // namespace

}  // namespace velorin

int main(int count, char** words) {
    velorin::KeepFreedMemory();
    return velorin::RunProgram(velorin::RunVerb, count, words);
}
