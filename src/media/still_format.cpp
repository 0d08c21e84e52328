#include "media/still_format.h"

#include <algorithm>
#include <filesystem>

namespace velorin {
namespace {

// extension, word, half, single, alpha, gray with alpha
constexpr StillFormat kFormats[] = {
    {"png", true, false, false, true, true},     {"tif", true, false, true, true, true},
    {"tiff", true, false, true, true, true},     {"dpx", true, false, false, true, false},
    {"exr", false, true, true, true, true},      {"jpg", false, false, false, false, false},
    {"jpeg", false, false, false, false, false}, {"ppm", false, false, false, false, false},
};

}  // namespace

const StillFormat* FindStillFormat(const std::string& name) {
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    for (const StillFormat& format : kFormats) {
        if (extension == std::string(".") + format.extension) return &format;
    }
    return nullptr;
}

std::string StillExtensions() {
    std::string text;
    for (const StillFormat& format : kFormats) {
        if (!text.empty()) text += ", ";
        text += format.extension;
    }
    return text;
}

SampleDepth StillDepth(const StillFormat& format, SampleDepth wanted) {
    if (!format.word && !format.single) return SampleDepth::kByte;
    switch (wanted) {
        case SampleDepth::kByte:
            return format.half ? SampleDepth::kHalf : SampleDepth::kByte;
        case SampleDepth::kWord:
            return format.word ? SampleDepth::kWord : SampleDepth::kFloat;
        case SampleDepth::kHalf:
            if (format.half) return SampleDepth::kHalf;
            [[fallthrough]];
        case SampleDepth::kFloat:
            return format.single ? SampleDepth::kFloat : SampleDepth::kWord;
    }
    return wanted;
}

int StillChannels(const StillFormat& format, int channels) {
    if (!format.alpha) return channels <= 2 ? 1 : 3;
    if (channels == 2 && !format.grayAlpha) return 4;
    return channels;
}

}  // namespace velorin
