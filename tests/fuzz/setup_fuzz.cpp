#include <cstdlib>
#include <string>

#include "cli/setup_file.h"
#include "cli/setup_text.h"

using velorin::GivenOption;
using velorin::kVerbRetime;
using velorin::ParseSetup;
using velorin::SetupText;
using velorin::UsageError;

// Whatever stands in a setup, it is refused in words, or written and read again as it was.
extern "C" int LLVMFuzzerTestOneInput(const char* bytes, std::size_t count) {
    try {
        const std::string text =
            SetupText(kVerbRetime, ParseSetup(std::string(bytes, count), "fuzz.toml", kVerbRetime));
        const std::vector<GivenOption> again = ParseSetup(text, "again.toml", kVerbRetime);
        if (SetupText(kVerbRetime, again) != text) std::abort();
    } catch (const UsageError&) {
    }
    return 0;
}
