#include "cli/program.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include "cli/exit_codes.h"
#include "cli/options.h"
#include "cli/standard_streams.h"
#include "cli/stop_request.h"
#include "cli/terminal_style.h"
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

}  // namespace

int Tell(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    return kExitDone;
}

int RunProgram(int (*answer)(int count, char** words), int count, char** words) {
    try {
        OccupyStandardStreams();
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
