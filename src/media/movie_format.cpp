#include "media/movie_format.h"

#include <algorithm>
#include <filesystem>

namespace velorin {
namespace {

constexpr MovieFormat kFormats[] = {
    {"mp4", "mp4", "mp4 (H.264)"},
    {"mov", "mov", "mov (ProRes)"},
    {"mkv", "matroska", "mkv (FFV1, lossless)"},
};

}  // namespace

const MovieFormat* FindMovieFormat(const std::string& name) {
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    for (const MovieFormat& format : kFormats) {
        if (extension == std::string(".") + format.extension) return &format;
    }
    return nullptr;
}

bool IsMovieName(const std::string& name) {
    return FindMovieFormat(name) != nullptr;
}

std::string MovieExtensions() {
    std::string text;
    for (const MovieFormat& format : kFormats) {
        text += (text.empty() ? "" : ", ") + std::string(format.text);
    }
    return text;
}

SampleDepth MovieDepth(const std::string& name, SampleDepth wanted) {
    const MovieFormat* format = FindMovieFormat(name);
    const bool byteOnly = format != nullptr && std::string(format->extension) == "mp4";
    return byteOnly || wanted == SampleDepth::kByte ? SampleDepth::kByte : SampleDepth::kWord;
}

bool MovieCanHoldAlpha(const std::string& name) {
    return std::string(FindMovieFormat(name)->extension) != "mp4";
}

// H.264 codes fields by pairs of lines.
bool MovieCanMarkFields(const std::string& name, int height) {
    return height % 2 == 0 || std::string(FindMovieFormat(name)->extension) != "mp4";
}

}  // namespace velorin
