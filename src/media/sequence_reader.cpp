#include "media/sequence_reader.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "media/pixel_transfer.h"
#include "media/plain_ppm.h"
#include "media/still_end.h"
#include "media/timecode.h"

namespace velorin {
namespace {

class SequenceReader : public ClipReader {
  public:
    SequenceReader(const std::string& name, const FoundSequence& found, StillDescriber describer);
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override;
    void KeepUnstoredClear() override { unstoredClear = true; }

  private:
    std::string FileOf(std::int64_t frame) const {
        return sequence.name.FileName(sequence.first + frame);
    }
    void Describe(const std::string& name, const OIIO::ImageSpec& layout);
    void CoverAllFrames();
    void FindTimecodeRate();
    [[noreturn]] void Throw(std::int64_t frame, const std::string& problem) const;
    [[noreturn]] void ThrowUnreadable(std::int64_t frame, const std::string& reason) const;
    std::unique_ptr<OIIO::ImageInput> Open(std::int64_t frame, StillShape& shape) const;
    void CheckAlike(std::int64_t frame, const StillShape& shape) const;
    void ReadPixels(OIIO::ImageInput& input, const StillShape& shape, std::int64_t frame,
                    Picture& picture);

    FoundSequence sequence;
    StillDescriber describe;
    ClipInfo info;
    StillShape firstShape;
    bool unstoredClear = false;
    std::vector<std::byte> stored;
};

SequenceReader::SequenceReader(const std::string& name, const FoundSequence& found,
                               StillDescriber describer)
    : sequence(found), describe(std::move(describer)) {
    const auto input = Open(0, firstShape);
    Describe(name, input->spec());
    if (std::string_view(input->format_name()) == "openexr") CoverAllFrames();
    if (info.timecode) FindTimecodeRate();
}

void SequenceReader::Describe(const std::string& name, const OIIO::ImageSpec& layout) {
    info.name = name;
    info.window = Union(firstShape.data, firstShape.display);
    info.display = firstShape.display;
    info.width = info.window.width;
    info.height = info.window.height;
    info.channels = firstShape.channels;
    info.content = firstShape.content;
    info.depth = firstShape.depth;
    info.storedBits = firstShape.storedBits;
    info.straightAlpha = firstShape.straightAlpha;
    info.frames = sequence.count;
    info.missing = sequence.missing;
    info.firstNumber = sequence.first;
    info.rate = firstShape.rate;
    info.pixelAspect = firstShape.pixelAspect;
    info.timecode = firstShape.timecode;
    info.sceneLinear = firstShape.sceneLinear;
    const auto usedEnd = firstShape.source.begin() + firstShape.channels;
    std::transform(firstShape.source.begin(), usedEnd, std::back_inserter(info.channelNames),
                   [&](int used) { return layout.channelnames[used]; });
    for (int i = 0; i < layout.nchannels; ++i) {
        if (std::find(firstShape.source.begin(), usedEnd, i) != usedEnd) continue;
        info.channelsLeftOut.push_back(layout.channelnames[i]);
    }
}

// Each frame may store another part of the plane; how much all of them need has to be known first.
void SequenceReader::CoverAllFrames() {
    for (std::int64_t frame = 1; frame < info.frames; ++frame) {
        try {
            StillShape shape;
            Open(frame, shape);
            if (shape.display == firstShape.display) info.window = Union(info.window, shape.data);
        } catch (const MediaError&) {
            // Told when the frame is read, if it is.
        }
    }
    info.width = info.window.width;
    info.height = info.window.height;
}

void SequenceReader::FindTimecodeRate() {
    info.timecodeRate = TimecodeRate(info.rate);
    if (info.rate.numerator > 0 || info.frames < 2) return;
    try {
        StillShape last;
        Open(info.frames - 1, last);
        const auto& code = last.timecode;
        const int rate = code ? RateBetween(*info.timecode, *code, info.frames - 1) : 0;
        if (rate > 0) info.timecodeRate = rate;
    } catch (const MediaError&) {
        // Told when the frame is read, if it is.
    }
}

void SequenceReader::Throw(std::int64_t frame, const std::string& problem) const {
    throw MediaError(MediaError::Kind::kInput,
                     FileOf(frame) + " (frame " + std::to_string(frame) + ") " + problem);
}

void SequenceReader::ThrowUnreadable(std::int64_t frame, const std::string& reason) const {
    Throw(frame, "cannot be read (" + (reason.empty() ? "it is cut short or damaged" : reason) +
                     "); render or copy it again");
}

std::unique_ptr<OIIO::ImageInput> SequenceReader::Open(std::int64_t frame,
                                                       StillShape& shape) const {
    auto input = OpenPlainPpm(FileOf(frame));
    if (!input) {
        OIIO::ImageSpec asStored;
        asStored.attribute("oiio:UnassociatedAlpha", 1);
        OIIO::ImageSpec layout;
        input = OIIO::ImageInput::create(FileOf(frame));
        if (!input) ThrowUnreadable(frame, OIIO::geterror());
        if (!input->open(FileOf(frame), layout, asStored)) {
            ThrowUnreadable(frame, input->geterror());
        }
    }
    if (IsCutShort(FileOf(frame), input->format_name())) {
        Throw(frame, "is cut short; render or copy it again");
    }
    std::string problem;
    const auto described = describe(*input, problem);
    if (!described) Throw(frame, problem);
    shape = *described;
    return input;
}

void SequenceReader::CheckAlike(std::int64_t frame, const StillShape& shape) const {
    const bool alike = shape.display == firstShape.display && Contains(info.window, shape.data) &&
                       shape.content == firstShape.content && shape.depth == firstShape.depth &&
                       shape.storedBits == firstShape.storedBits &&
                       shape.straightAlpha == firstShape.straightAlpha;
    if (alike) return;
    Throw(frame, "is not like the first frame: " + shape.Text() + " instead of " +
                     firstShape.Text() +
                     "; all frames of a sequence need one size, layout and depth");
}

void SequenceReader::Read(std::int64_t frame, Picture& picture) {
    if (frame < 0 || frame >= info.frames) {
        throw MediaError(MediaError::Kind::kInput, info.name + ": there is no frame " +
                                                       std::to_string(frame) + "; the last is " +
                                                       std::to_string(info.frames - 1));
    }
    StillShape shape;
    const auto input = Open(frame, shape);
    CheckAlike(frame, shape);
    picture.SetShape(info.width, info.height, PixelTypeOf(info.depth));
    ReadPixels(*input, shape, frame, picture);
    input->close();
}

void SequenceReader::ReadPixels(OIIO::ImageInput& input, const StillShape& shape,
                                std::int64_t frame, Picture& picture) {
    std::array<int, 4> source = shape.source;
    const auto [low, high] = std::minmax_element(source.begin(), source.begin() + shape.channels);
    const int begin = *low;
    const int channels = *high + 1 - begin;
    for (int& channel : source) channel -= begin;

    const OIIO::TypeDesc type = TransferType(shape.depth);
    const bool whole = shape.data == info.window;
    const bool direct = whole && shape.channels == 4 && source == std::array<int, 4>{0, 1, 2, 3};
    if (!direct) {
        stored.resize(static_cast<std::size_t>(shape.data.width) * shape.data.height * channels *
                      type.size());
    }
    // Asked for by its name, the type that a file has goes through a buffer of the library's.
    const OIIO::ImageSpec& layout = input.spec();
    const bool asStored = layout.format == type && layout.channelformats.empty();
    if (!input.read_image(input.current_subimage(), 0, begin, begin + channels,
                          asStored ? OIIO::TypeDesc(OIIO::TypeDesc::UNKNOWN) : type,
                          direct ? picture.pixels.data() : stored.data())) {
        ThrowUnreadable(frame, input.geterror());
    }
    if (direct) return;
    if (!whole) ClearPicture(picture, shape.channels % 2 == 1 && !unstoredClear);
    const StoredPixels pixels{stored.data(), shape.data.width, shape.data.height,
                              channels,      shape.channels,   source.data()};
    SpreadPixels(pixels, shape.data.x - info.window.x, shape.data.y - info.window.y, picture);
}

}  // namespace

std::unique_ptr<ClipReader> OpenSequence(const std::string& name, const FoundSequence& sequence) {
    return OpenSequence(name, sequence, [](OIIO::ImageInput& input, std::string& problem) {
        return DescribeStill(input, {}, problem);
    });
}

std::unique_ptr<ClipReader> OpenSequence(const std::string& name, const FoundSequence& sequence,
                                         StillDescriber describe) {
    return std::make_unique<SequenceReader>(name, sequence, std::move(describe));
}

}  // namespace velorin
