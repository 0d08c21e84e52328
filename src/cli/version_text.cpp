#include "cli/version_text.h"

#include <toml++/toml.h>

#include <CLI/Version.hpp>

#include "image/float4.h"
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

// The widest set that the compiler was told it may use.
std::string InstructionsText() {
#if defined(__AVX512F__)
    return "AVX-512";
#elif defined(__AVX2__)
    return "AVX2";
#elif defined(__AVX__)
    return "AVX";
#elif defined(__SSE2__)
    return "SSE2";
#elif defined(__ARM_NEON)
    return "NEON";
#else
    return "its basic ones";
#endif
}

std::string LanesText() {
#if defined(VELORIN_SSE_LANES)
    return "vector lanes of 4 floats";
#else
    return "4 plain floats at a time";
#endif
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
           "\ninstructions: " + InstructionsText() + ", " + LanesText() +
           "\nbuilt with: " + LibrariesText() + "\nmovies: " + MovieExtensions() +
           "; read also what libavformat reads\npictures: " + StillExtensions() + "\n";
}

}  // namespace velorin
