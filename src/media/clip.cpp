#include "media/clip.h"

#include <filesystem>

#include "media/movie_format.h"
#include "media/movie_reader.h"
#include "media/movie_writer.h"
#include "media/pipe_writer.h"
#include "media/sequence_name.h"
#include "media/sequence_reader.h"
#include "media/sequence_writer.h"
#include "media/still_format.h"

namespace velorin {
namespace {

std::string UnknownExtension(const std::string& name) {
    return name + ": the name's extension does not tell a format; movies are " + MovieExtensions() +
           ", pictures of a sequence " + StillExtensions();
}

std::string SequenceAdvice(const std::string& name) {
    return name + ": is the name of one picture; a sequence is written as in " +
           SuggestedPattern(name);
}

}  // namespace

int PixelTypeOf(SampleDepth depth) {
    switch (depth) {
        case SampleDepth::kByte:
            return ZPPixUChar;
        case SampleDepth::kWord:
            return ZPPixUShort;
        default:
            return ZPPixFloat;
    }
}

std::string ListOf(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

void Picture::SetShape(int newWidth, int newHeight, int newPixelType, int newChannels) {
    width = newWidth;
    height = newHeight;
    pixelType = newPixelType;
    channels = newChannels;
    pixels.resize(static_cast<std::size_t>(RowBytes()) * height);
}

std::unique_ptr<ClipReader> OpenClip(const std::string& name, bool mayHaveHoles) {
    if (name == kPipeName) {
        throw MediaError(MediaError::Kind::kInput,
                         "-: only the INPUT of velorin retime and velorin info can come through a "
                         "pipe; name a file");
    }
    const Holes holes = mayHaveHoles ? Holes::kKeep : Holes::kRefuse;
    if (const auto sequence = FindSequenceMeant(name, holes)) return OpenSequence(name, *sequence);
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(name, ignored)) {
        throw MediaError(MediaError::Kind::kInput,
                         name +
                             ": no such file; a movie, a folder with one sequence or a name "
                             "such as shot.%04d.png is wanted");
    }
    if (FindStillFormat(name)) throw MediaError(MediaError::Kind::kInput, SequenceAdvice(name));
    return OpenMovie(name);
}

SampleDepth DepthForOutput(const std::string& name, SampleDepth wanted) {
    if (const StillFormat* format = FindStillFormat(name)) return StillDepth(*format, wanted);
    if (IsMovieName(name)) return MovieDepth(name, wanted);
    if (name == kPipeName) {
        return wanted == SampleDepth::kByte ? SampleDepth::kByte : SampleDepth::kWord;
    }
    throw MediaError(MediaError::Kind::kFailure, UnknownExtension(name));
}

bool CanMarkFields(const std::string& name, int height) {
    return IsMovieName(name) && MovieCanMarkFields(name, height);
}

bool CanHoldAlpha(const std::string& name) {
    const StillFormat* format = FindStillFormat(name);
    return format ? format->alpha : IsMovieName(name) && MovieCanHoldAlpha(name);
}

std::unique_ptr<ClipWriter> CreateClip(const std::string& name, const OutputSettings& settings,
                                       const std::vector<std::int64_t>& frames) {
    if (const StillFormat* format = FindStillFormat(name)) {
        const auto sequence = ParseSequenceName(name);
        if (!sequence) throw MediaError(MediaError::Kind::kFailure, SequenceAdvice(name));
        return CreateSequence(*sequence, *format, settings, frames);
    }
    if (IsMovieName(name)) return CreateMovie(name, settings);
    if (name == kPipeName) return CreatePipe(settings);
    throw MediaError(MediaError::Kind::kFailure, UnknownExtension(name));
}

}  // namespace velorin
