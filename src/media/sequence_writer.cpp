#include "media/sequence_writer.h"

#include <OpenImageIO/imageio.h>

#include <filesystem>

#include "image/half_float.h"
#include "media/clip_files.h"
#include "media/finished_frames.h"
#include "media/pixel_transfer.h"
#include "media/safe_file.h"
#include "media/source_headers.h"
#include "media/stamp.h"
#include "media/still_file.h"
#include "media/still_shape.h"

namespace velorin {
namespace {

// As OpenImageIO calls the format.
std::string FormatName(const std::string& extension) {
    const auto output = OIIO::ImageOutput::create("a." + extension);
    return output ? output->format_name() : "";
}

class SequenceWriter : public ClipWriter {
  public:
    SequenceWriter(const SequenceName& sequenceName, const StillFormat& stillFormat,
                   const OutputSettings& outputSettings,
                   const std::optional<NamedContent>& namedContent)
        : name(sequenceName),
          settings(outputSettings),
          content(namedContent),
          channels(content ? 4 : StillChannels(stillFormat, outputSettings.source.channels)),
          extension(stillFormat.extension),
          headers(settings, FormatName(extension)) {}
    void Write(std::int64_t frame, const Picture& picture) override;
    void Finish() override {}

  private:
    OIIO::ImageSpec LayoutFor(std::int64_t frame, const Picture& picture);
    void NameChannels(OIIO::ImageSpec& layout) const;
    void PlaceInPlane(OIIO::ImageSpec& layout) const;
    const Picture& Stored(std::int64_t frame, const Picture& picture, OIIO::ImageSpec& layout);

    SequenceName name;
    OutputSettings settings;
    std::optional<NamedContent> content;
    int channels;
    std::string extension;
    SourceHeaders headers;
    Picture cut;  // to what a file stores
    std::vector<std::byte> packed;
    std::vector<std::uint16_t> halves;
};

// Rounds as the plug-in does, where the library would go to even: both write the same halves.
void ToHalves(const std::byte* floats, std::size_t count, std::vector<std::uint16_t>& halves) {
    halves.resize(count);
    const auto* values = reinterpret_cast<const float*>(floats);
    for (std::size_t i = 0; i < count; ++i) halves[i] = FloatToHalf(values[i]);
}

std::vector<std::string> ChannelNames(int channels) {
    if (channels == 1) return {"Y"};
    if (channels == 2) return {"Y", "A"};
    if (channels == 3) return {"R", "G", "B"};
    return {"R", "G", "B", "A"};
}

void SequenceWriter::NameChannels(OIIO::ImageSpec& layout) const {
    if (content) {
        layout.channelnames = content->channels;
        layout.alpha_channel = -1;
        for (const auto& [note, text] : content->notes) layout.attribute(note, text);
        return;
    }
    const std::vector<std::string>& names = settings.source.channelNames;
    const bool named = extension == "exr" && names.size() == static_cast<std::size_t>(channels);
    layout.channelnames = named ? names : ChannelNames(channels);
    layout.alpha_channel = channels % 2 == 0 ? channels - 1 : -1;
    // Tells PNG and TIFF that nothing is to be divided by alpha, and TIFF what its alpha is.
    const bool straight = settings.source.straightAlpha || extension == "png";
    if (straight) layout.attribute("oiio:UnassociatedAlpha", 1);
}

void SequenceWriter::PlaceInPlane(OIIO::ImageSpec& layout) const {
    const ClipInfo& source = settings.source;
    if (extension != "exr" || source.window.width != layout.width ||
        source.window.height != layout.height) {
        return;
    }
    layout.x = source.window.x;
    layout.y = source.window.y;
    layout.full_x = source.display.x;
    layout.full_y = source.display.y;
    layout.full_width = source.display.width;
    layout.full_height = source.display.height;
}

OIIO::ImageSpec SequenceWriter::LayoutFor(std::int64_t frame, const Picture& picture) {
    const ClipInfo& source = settings.source;
    OIIO::ImageSpec layout(picture.width, picture.height, channels, StoredType(settings.depth));
    if (!content) headers.Complete(frame, layout);
    NameChannels(layout);
    const bool packsBits = extension == "dpx" || extension == "tif" || extension == "tiff";
    if (source.storedBits > 0 && settings.depth == source.depth && packsBits) {
        layout.attribute("oiio:BitsPerSample", source.storedBits);
    }
    PlaceInPlane(layout);
    const Rational aspect = source.pixelAspect;
    const bool told = layout.find_attribute("PixelAspectRatio") != nullptr;
    if (!told && aspect.numerator > 0 && aspect.numerator != aspect.denominator) {
        layout.attribute("PixelAspectRatio", static_cast<float>(aspect.numerator) /
                                                 static_cast<float>(aspect.denominator));
    }
    if (source.rate.numerator > 0) {
        const int rate[2] = {static_cast<int>(source.rate.numerator),
                             static_cast<int>(source.rate.denominator)};
        if (extension == "exr") layout.attribute("FramesPerSecond", OIIO::TypeRational, rate);
        if (extension == "dpx") {
            layout.attribute("dpx:FrameRate",
                             static_cast<float>(rate[0]) / static_cast<float>(rate[1]));
        }
    }
    return layout;
}

void SequenceWriter::Write(std::int64_t frame, const Picture& picture) {
    const std::string target = name.FileName(settings.firstNumber + frame);
    const std::string named = target + " (frame " + std::to_string(frame) + ")";
    OIIO::ImageSpec layout = LayoutFor(frame, picture);
    const Picture& stored = Stored(frame, picture, layout);
    if (channels < 4) PackPixels(stored, channels, packed);
    const std::byte* pixels = channels < 4 ? packed.data() : stored.pixels.data();
    const void* samples = pixels;
    if (settings.depth == SampleDepth::kHalf) {
        const std::size_t count = static_cast<std::size_t>(stored.width) * stored.height;
        ToHalves(pixels, count * channels, halves);
        samples = halves.data();
    }
    if (settings.stamp && KeepsStamp(extension)) {
        layout.attribute("Software", StampText(settings.stamp(frame)));
    }
    // First, so that a run that is killed leaves no frame of which nothing is known. A line without
    // its frame counts for nothing.
    const auto addStamp = [&] {
        if (!settings.stamp || KeepsStamp(extension)) return;
        StampFile(name).Append(settings.firstNumber + frame,
                               DigestOfSamples(samples, layout.image_bytes(true)),
                               settings.stamp(frame));
    };
    WriteStill(target, settings.overwrite, layout, StoredType(settings.depth), samples, named,
               addStamp);
}

// The part of a picture that its file stores: what its source frames store, and whatever else is
// not zero.
const Picture& SequenceWriter::Stored(std::int64_t frame, const Picture& picture,
                                      OIIO::ImageSpec& layout) {
    const Window whole{layout.x, layout.y, layout.width, layout.height};
    if (content || extension != "exr" || picture.pixelType != ZPPixFloat) return picture;
    const std::optional<Window> least = headers.StoredWindow(frame);
    if (!least || *least == whole || !Contains(whole, *least)) return picture;
    Window inside = *least;
    inside.x -= whole.x;
    inside.y -= whole.y;
    inside = FilledWindow(picture, channels, inside);
    if (inside == Window{0, 0, whole.width, whole.height}) return picture;
    CutPicture(picture, inside, cut);
    layout.x = whole.x + inside.x;
    layout.y = whole.y + inside.y;
    layout.width = inside.width;
    layout.height = inside.height;
    return cut;
}

// An existing frame may be overwritten, but not one that is still to be read.
void CheckNotRead(const std::string& target, std::int64_t number, const ClipInfo& source,
                  const SequenceName& sourceName) {
    std::error_code ignored;
    if (number < source.firstNumber || number >= source.firstNumber + source.frames) return;
    if (!std::filesystem::equivalent(sourceName.FileName(number), target, ignored)) return;
    throw MediaError(MediaError::Kind::kFailure, target + ": is a frame of the input " +
                                                     source.name + "; choose another output name");
}

// A clip that is read, and the names of its files.
struct ReadSequence {
    ClipInfo clip;
    SequenceName name;
};

std::vector<ReadSequence> SequencesRead(const OutputSettings& settings) {
    std::vector<ReadSequence> sequences;
    const auto add = [&](const ClipInfo& clip) {
        if (const auto name = SequenceNameOf(clip)) sequences.push_back({clip, *name});
    };
    add(settings.source);
    for (const ClipInfo& clip : settings.alsoRead) add(clip);
    return sequences;
}

}  // namespace

std::unique_ptr<ClipWriter> CreateSequence(const SequenceName& name, const StillFormat& format,
                                           const OutputSettings& settings,
                                           const std::vector<std::int64_t>& frames,
                                           const std::optional<NamedContent>& content) {
    if (frames.empty()) CheckTarget(name.FileName(settings.firstNumber), true);
    const std::vector<ReadSequence> sequences = SequencesRead(settings);
    for (const std::int64_t frame : frames) {
        const std::int64_t number = settings.firstNumber + frame;
        const std::string target = name.FileName(number);
        CheckTarget(target, settings.overwrite);
        for (const ReadSequence& read : sequences) {
            CheckNotRead(target, number, read.clip, read.name);
        }
    }
    return std::make_unique<SequenceWriter>(name, format, settings, content);
}

void CheckNoFrameOf(const std::string& target, const ClipInfo& source) {
    const auto sourceName = SequenceNameOf(source);
    std::error_code ignored;
    if (!sourceName || !std::filesystem::exists(target, ignored)) return;
    for (std::int64_t frame = 0; frame < source.frames; ++frame) {
        CheckNotRead(target, source.firstNumber + frame, source, *sourceName);
    }
}

}  // namespace velorin
