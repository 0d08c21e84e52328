#include "cli/program.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "cli/exit_codes.h"
#include "cli/options.h"
#include "cli/standard_streams.h"
#include "cli/stop_request.h"
#include "cli/terminal_style.h"
#include "image/err.h"
#include "image/instruction_set.h"
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

// A word that the kernels would pass over in silence.
void CheckInstructionSet() {
    const char* word = std::getenv("VELORIN_INSTRUCTION_SET");
    if (!word) return;
    for (InstructionSet set : kAllInstructionSets) {
        if (std::string_view(word) != NameOf(set)) continue;
        if (IsAvailable(set)) return;
        throw UsageError(std::string("VELORIN_INSTRUCTION_SET: this processor does not run ") +
                         word);
    }
    throw UsageError(std::string("VELORIN_INSTRUCTION_SET is ") + word +
                     "; give baseline, x86-64-v3 or x86-64-v4");
}

}  // namespace

int Tell(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    return kExitDone;
}

int RunProgram(int (*answer)(int count, char** words), int count, char** words) {
    try {
        OccupyStandardStreams();
        CheckInstructionSet();
        const int code = answer(count, words);
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

}  // namespace velorin
