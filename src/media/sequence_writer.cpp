#include "media/sequence_writer.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>

#include "media/pixel_transfer.h"
#include "media/safe_file.h"
#include "media/still_shape.h"

namespace velorin {
namespace {

// Hands what a format writes to an open file and remembers the first failure: not every format
// reports a full disk by itself.
class DescriptorProxy : public OIIO::Filesystem::IOProxy {
  public:
    DescriptorProxy(const std::string& name, int openFile) : IOProxy(name, Write), file(openFile) {}

    const char* proxytype() const override { return "descriptor"; }
    std::size_t read(void* bytes, std::size_t count) override {
        const std::size_t done = pread(bytes, count, m_pos);
        m_pos += static_cast<std::int64_t>(done);
        return done;
    }
    std::size_t write(const void* bytes, std::size_t count) override {
        const std::size_t done = pwrite(bytes, count, m_pos);
        m_pos += static_cast<std::int64_t>(done);
        return done;
    }
    std::size_t pread(void* bytes, std::size_t count, std::int64_t offset) override {
        std::size_t done = 0;
        while (done < count) {
            const ssize_t now = ::pread(file, static_cast<char*>(bytes) + done, count - done,
                                        offset + static_cast<std::int64_t>(done));
            if (now < 0 && errno == EINTR) continue;
            if (now <= 0) break;
            done += static_cast<std::size_t>(now);
        }
        return done;
    }
    std::size_t pwrite(const void* bytes, std::size_t count, std::int64_t offset) override {
        std::size_t done = 0;
        while (done < count) {
            const ssize_t now = ::pwrite(file, static_cast<const char*>(bytes) + done, count - done,
                                         offset + static_cast<std::int64_t>(done));
            if (now < 0 && errno == EINTR) continue;
            if (now < 0) {
                if (failure == 0) failure = errno;
                break;
            }
            done += static_cast<std::size_t>(now);
        }
        return done;
    }
    std::size_t size() const override {
        const off_t end = lseek(file, 0, SEEK_END);
        return end < 0 ? 0 : static_cast<std::size_t>(end);
    }
    // An errno value, 0 while all is well.
    int Failure() const { return failure; }

  private:
    int file;
    int failure = 0;
};

class SequenceWriter : public ClipWriter {
  public:
    SequenceWriter(const SequenceName& sequenceName, const StillFormat& stillFormat,
                   const OutputSettings& outputSettings)
        : name(sequenceName),
          settings(outputSettings),
          channels(StillChannels(stillFormat, outputSettings.source.channels)),
          extension(stillFormat.extension) {}
    void Write(std::int64_t frame, const Picture& picture) override;
    void Finish() override {}

  private:
    OIIO::ImageSpec LayoutFor(const Picture& picture) const;

    SequenceName name;
    OutputSettings settings;
    int channels;
    std::string extension;
    std::vector<std::byte> packed;
};

std::vector<std::string> ChannelNames(int channels) {
    if (channels == 1) return {"Y"};
    if (channels == 2) return {"Y", "A"};
    if (channels == 3) return {"R", "G", "B"};
    return {"R", "G", "B", "A"};
}

OIIO::ImageSpec SequenceWriter::LayoutFor(const Picture& picture) const {
    const ClipInfo& source = settings.source;
    OIIO::ImageSpec layout(picture.width, picture.height, channels, StoredType(settings.depth));
    layout.channelnames = ChannelNames(channels);
    layout.alpha_channel = channels % 2 == 0 ? channels - 1 : -1;
    // Tells PNG and TIFF that nothing is to be divided by alpha, and TIFF what its alpha is.
    if (source.straightAlpha || extension == "png") layout.attribute("oiio:UnassociatedAlpha", 1);
    if (source.storedBits > 0 && settings.depth == source.depth && extension == "dpx") {
        layout.attribute("oiio:BitsPerSample", source.storedBits);
    }
    if (extension == "jpg" || extension == "jpeg") {
        layout.attribute("Compression", "jpeg:100");
        layout.attribute("jpeg:subsampling", "4:4:4");
    }
    // The library would write the time of day, and equal renders would give unequal files.
    if (extension == "exr") layout.attribute("DateTime", "");
    if (extension == "exr" && source.window.width == picture.width &&
        source.window.height == picture.height) {
        layout.x = source.window.x;
        layout.y = source.window.y;
        layout.full_x = source.display.x;
        layout.full_y = source.display.y;
        layout.full_width = source.display.width;
        layout.full_height = source.display.height;
    }
    const Rational aspect = source.pixelAspect;
    if (aspect.numerator > 0 && aspect.numerator != aspect.denominator) {
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
    SafeFile file(target, settings.overwrite);
    DescriptorProxy proxy(file.TemporaryName(), file.Descriptor());
    const auto output = OIIO::ImageOutput::create(file.TemporaryName(), &proxy);
    if (!output) {
        throw MediaError(MediaError::Kind::kFailure, named + ": " + OIIO::geterror());
    }
    if (channels < 4) PackPixels(picture, channels, packed);
    const std::byte* pixels = channels < 4 ? packed.data() : picture.pixels.data();
    const bool written = output->open(file.TemporaryName(), LayoutFor(picture)) &&
                         output->write_image(TransferType(settings.depth), pixels);
    const bool closed = output->close();
    if (proxy.Failure() != 0) throw WriteFailure(named, proxy.Failure());
    if (!written || !closed) {
        throw MediaError(MediaError::Kind::kFailure,
                         named + ": cannot be written: " + output->geterror());
    }
    file.Commit();
}

// The names of the source's own files; empty if it is no sequence.
std::optional<SequenceName> NameOfSource(const ClipInfo& source) {
    std::error_code ignored;
    if (source.isMovie) return {};
    return std::filesystem::is_directory(source.name, ignored)
               ? FindSequenceInFolder(source.name).name
               : ParseSequenceName(source.name);
}

// An existing frame may be overwritten, but not one that is still to be read.
void CheckNotOfSource(const std::string& target, std::int64_t number, const ClipInfo& source,
                      const SequenceName& sourceName) {
    std::error_code ignored;
    if (number < source.firstNumber || number >= source.firstNumber + source.frames) return;
    if (!std::filesystem::equivalent(sourceName.FileName(number), target, ignored)) return;
    throw MediaError(MediaError::Kind::kFailure,
                     target + ": is a frame of the input; choose another output name");
}

}  // namespace

std::unique_ptr<ClipWriter> CreateSequence(const SequenceName& name, const StillFormat& format,
                                           const OutputSettings& settings,
                                           const std::vector<std::int64_t>& frames) {
    if (frames.empty()) CheckTarget(name.FileName(settings.firstNumber), true);
    const auto sourceName = NameOfSource(settings.source);
    for (const std::int64_t frame : frames) {
        const std::int64_t number = settings.firstNumber + frame;
        const std::string target = name.FileName(number);
        CheckTarget(target, settings.overwrite);
        if (sourceName) CheckNotOfSource(target, number, settings.source, *sourceName);
    }
    return std::make_unique<SequenceWriter>(name, format, settings);
}

}  // namespace velorin
