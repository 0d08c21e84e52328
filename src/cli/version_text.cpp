#include "cli/version_text.h"

#include <toml++/toml.h>

#include <CLI/Version.hpp>

#include "image/instruction_set.h"
#include "media/media_libraries.h"
#include "media/movie_format.h"
#include "media/still_format.h"

namespace velorin {

namespace {

std::string CompilerText() {
#if defined(__clang__)
    return "clang " __clang_version__;
#else
    return "g++ " __VERSION__;
#endif
}

std::string ProcessorText() {
#if defined(__x86_64__)
    return "x86-64";
#elif defined(__aarch64__)
    return "arm64";
#else
    return "another processor";
#endif
}

// What the kernels use here, of what they were built for and this processor runs.
std::string InstructionsText() {
    std::string text = std::string(NameOf(GetInstructionSet())) + ", of";
    for (InstructionSet set : kAllInstructionSets) {
        if (IsAvailable(set)) text.append(std::string(" ") + NameOf(set));
    }
    return text;
}

std::string LibrariesText() {
    std::string text;
    for (const auto& [name, version] : MediaLibraries()) text.append(name + " " + version + ", ");
    return text + "CLI11 " CLI11_VERSION ", toml++ " + std::to_string(TOML_LIB_MAJOR) + "." +
           std::to_string(TOML_LIB_MINOR) + "." + std::to_string(TOML_LIB_PATCH);
}

}  // namespace

std::string VersionText() {
    return "velorin " VELORIN_VERSION "\nbuilt by " + CompilerText() + " for " + ProcessorText() +
           "\ninstructions: " + InstructionsText() + "\nbuilt with: " + LibrariesText() +
           "\nmovies: " + MovieExtensions() +
           "; read also what libavformat reads\npictures: " + StillExtensions() + "\n";
}

}  // namespace velorin
