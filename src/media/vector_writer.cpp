#include "media/vector_writer.h"

#include <filesystem>
#include <string_view>

#include "media/sequence_name.h"
#include "media/sequence_writer.h"
#include "media/still_format.h"

namespace velorin {
namespace {

constexpr const char* kMeaning =
    "pixels of this frame; u to the right, v up; forward leads from this frame to the same "
    "content in the next one, backward to that in the frame before; a frame that has no "
    "neighbour has zeros";

// The nearest name to one that is no pattern of an EXR sequence.
std::string SuggestedName(const std::string& name) {
    const std::string exr = std::filesystem::path(name).replace_extension(".exr").string();
    return ParseSequenceName(exr) ? exr : SuggestedPattern(exr);
}

// Writes channels `first` and `first` + 1 of `joined`.
void Interleave(const Picture* vectors, int first, Picture& joined) {
    const auto* in = vectors ? reinterpret_cast<const float*>(vectors->pixels.data()) : nullptr;
    auto* out = reinterpret_cast<float*>(joined.pixels.data()) + first;
    const std::size_t pixels = static_cast<std::size_t>(joined.width) * joined.height;
    for (std::size_t i = 0; i < pixels; ++i, out += 4) {
        out[0] = in ? in[2 * i] : 0.0f;
        out[1] = in ? in[2 * i + 1] : 0.0f;
    }
}

}  // namespace

void CheckVectorsName(const std::string& name) {
    const StillFormat* format = FindStillFormat(name);
    const bool isExr = format && std::string_view(format->extension) == "exr";
    if (isExr && ParseSequenceName(name)) return;
    throw MediaError(
        MediaError::Kind::kFailure,
        name + ": vectors are written as an EXR sequence, as in " + SuggestedName(name));
}

std::unique_ptr<ClipWriter> CreateVectors(const std::string& name, const OutputSettings& settings,
                                          const std::vector<std::int64_t>& frames) {
    CheckVectorsName(name);
    OutputSettings inFloat = settings;
    inFloat.depth = SampleDepth::kFloat;
    const NamedContent content{{"forward.u", "forward.v", "backward.u", "backward.v"},
                               {{"Compression", "zip"}, {"velorin:vectors", kMeaning}}};
    return CreateSequence(*ParseSequenceName(name), *FindStillFormat(name), inFloat, frames,
                          content);
}

void JoinVectors(const Picture* forward, const Picture* backward, int width, int height,
                 Picture& joined) {
    joined.SetShape(width, height, ZPPixFloat);
    Interleave(forward, 0, joined);
    Interleave(backward, 2, joined);
}

}  // namespace velorin
