#include "cli/spark_render.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/frame_list.h"
#include "cli/held_clip.h"
#include "cli/layer_clips.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/stop_request.h"
#include "cli/time_law.h"
#include "media/converted_clip.h"
#include "media/still_format.h"
#include "spark_host/host_pixels.h"
#include "spark_host/spark_host.h"
#include "standalone/thread_pool.h"

namespace velorin {

namespace {

constexpr int kWriteBehind = 1;
constexpr int kHostClips = 3;  // front, back and matte

struct Format {
    int code;
    SampleDepth depth;
};
constexpr std::array<Format, 3> kFormats = {
    Format{24, SampleDepth::kByte}, {48, SampleDepth::kWord}, {49, SampleDepth::kHalf}};

const Format& FormatOf(const Options& options, const ClipInfo& front) {
    if (options.plugin.format) return kFormats[*options.plugin.format];
    return front.depth == SampleDepth::kByte   ? kFormats[kHostByte]
           : front.depth == SampleDepth::kWord ? kFormats[kHostTwelveBits]
                                               : kFormats[kHostHalf];
}

// The host's clips in its format. One that nobody connected is black.
class HostClips {
  public:
    HostClips(const Options& options, const Format& newFormat, std::unique_ptr<ClipReader> front)
        : format(newFormat) {
        infos.push_back(front->Info());
        const ClipInfo source = front->Info();
        Take(0, std::move(front));
        Open(1, options.plugin.back, "--back", source);
        Open(2, options.plugin.matte, "--matte", source);
    }

    void Serve(int clip, std::int64_t frame, std::byte* pixels) {
        const Slot& slot = slots.at(clip);
        if (!slot.clip) {
            std::fill_n(pixels, FrameBytes(), std::byte{0});
            return;
        }
        const std::int64_t inside = std::clamp<std::int64_t>(frame, 0, slot.frames - 1);
        const std::shared_ptr<Picture> picture = slot.clip->Fetch(inside);
        PackHostFrame(picture->pixels.data(), picture->width, picture->height, format.code, pixels);
    }

    // Of all that are there, the front's first.
    const std::vector<ClipInfo>& Infos() const { return infos; }

  private:
    struct Slot {
        std::unique_ptr<HeldClip> clip;
        std::int64_t frames = 0;
    };

    void Open(int clip, const std::string& name, const char* option, const ClipInfo& source) {
        if (name.empty()) return;
        std::unique_ptr<ClipReader> reader = OpenAlike(name, option, source);
        infos.push_back(reader->Info());
        Take(clip, std::move(reader));
    }

    void Take(int clip, std::unique_ptr<ClipReader> reader) {
        slots[clip].frames = reader->Info().frames;
        slots[clip].clip =
            std::make_unique<HeldClip>(ReadAsType(std::move(reader), PixelTypeOf(format.depth)));
    }

    std::size_t FrameBytes() const {
        return static_cast<std::size_t>(infos[0].width) * infos[0].height *
               HostPixelBytes(format.code);
    }

    const Format& format;
    std::array<Slot, kHostClips> slots;
    std::vector<ClipInfo> infos;
};

SampleDepth OutputDepth(const Options& options, const Format& format) {
    const SampleDepth held = HeldDepth(options.output, format.depth);
    if (PixelTypeOf(held) == PixelTypeOf(format.depth)) return held;
    const auto number = static_cast<int>(&format - kFormats.data());
    throw UsageError("-o " + options.output + ": cannot hold frames of --format " +
                     std::string(ChoiceWord("--format", number)) +
                     "; name another kind of output, such as slow.%04d.exr, or give --format 8");
}

std::unique_ptr<ClipWriter> CreateWriter(const Options& options, const std::vector<ClipInfo>& clips,
                                         SampleDepth depth,
                                         const std::vector<std::int64_t>& frames) {
    OutputSettings settings;
    settings.source = clips[0];
    settings.source.channels = 3;
    settings.source.storedBits = 0;
    settings.alsoRead.assign(clips.begin() + 1, clips.end());
    settings.depth = depth;
    settings.firstNumber = options.startNumber.value_or(clips[0].firstNumber);
    settings.overwrite = options.overwrite;
    return WriteBehind(CreateClip(options.output, settings, frames), kWriteBehind);
}

std::vector<SparkSetting> SettingsOf(const Options& options, const SparkPanel& panel) {
    std::vector<SparkSetting> settings;
    for (const std::string& text : options.plugin.settings) {
        try {
            settings.push_back(ParseSetting(text, panel));
        } catch (const SparkHostError& failure) {
            throw UsageError(std::string("--set ") + failure.what());
        }
        const SparkSetting& setting = settings.back();
        const SparkRange range = setting.control->Range();
        if (setting.value >= range.least && setting.value <= range.greatest) continue;
        throw UsageError("--set " + text + ": give a value from " +
                         NumberText(static_cast<float>(range.least)) + " to " +
                         NumberText(static_cast<float>(range.greatest)));
    }
    return settings;
}

SparkFrames FramesFor(const Options& options, const ClipInfo& front, const Format& format) {
    const std::int64_t length = options.length.value_or(front.frames);
    if (length > std::numeric_limits<int>::max()) {
        throw UsageError("--front: has more frames than a host counts; give --length");
    }
    SparkFrames frames;
    frames.width = front.width;
    frames.height = front.height;
    frames.format = format.code;
    frames.length = static_cast<int>(length);
    frames.threads = options.threads != 0 ? options.threads : AvailableProcessors();
    return frames;
}

// Renders one frame after the other and writes it.
class Run {
  public:
    Run(SparkHost& newHost, const Options& options, SampleDepth depth, ClipWriter& newWriter)
        : host(newHost), plugin(options.input), writer(newWriter) {
        picture.SetShape(host.session.frames.width, host.session.frames.height, PixelTypeOf(depth));
    }

    // False when the user asked to stop, with whole frames behind it.
    bool Execute(const std::vector<std::int64_t>& frames, ProgressLine& progress) {
        for (const std::int64_t frame : frames) {
            if (StopRequested()) return false;
            Render(static_cast<int>(frame));
            writer.Write(frame, picture);
            progress.FrameDone(frame);
            ++done;
        }
        return true;
    }

    std::size_t Done() const { return done; }

  private:
    void Render(int frame) {
        for (int calls = host.Start(frame); calls > 0; --calls) {
            if (host.Process(frame)) continue;
            throw MediaError(MediaError::Kind::kFailure, plugin + ": rendered nothing for frame " +
                                                             std::to_string(frame) +
                                                             "; what it says of that stands above");
        }
        UnpackHostFrame(host.Result(), picture.width, picture.height, host.session.frames.format,
                        picture.pixels.data());
    }

    SparkHost& host;
    const std::string& plugin;
    ClipWriter& writer;
    Picture picture;
    std::size_t done = 0;
};

// Once all is checked.
int RenderAll(SparkHost& host, const Options& options, SampleDepth depth,
              const std::vector<ClipInfo>& clips, ProgressLine& progress) {
    const SparkFrames& hostFrames = host.session.frames;
    std::vector<std::int64_t> frames(hostFrames.length);
    std::iota(frames.begin(), frames.end(), std::int64_t{0});
    if (!options.frames.empty()) frames = ChosenFrames(options.frames, hostFrames.length);
    if (ReachesPast(options.frames, hostFrames.length)) {
        progress.Note("--frames: what lies past " + std::to_string(hostFrames.length - 1) +
                      ", the last output frame, is left out");
    }
    if (frames.empty()) {
        progress.Note("nothing to do");
        return kExitDone;
    }
    const std::unique_ptr<ClipWriter> writer = CreateWriter(options, clips, depth, frames);
    progress.Start(static_cast<std::int64_t>(frames.size()));
    Run run(host, options, depth, *writer);
    const bool whole = run.Execute(frames, progress);
    const bool isSequence = FindStillFormat(options.output) != nullptr;
    if (whole || isSequence) writer->Finish();
    if (whole) {
        progress.Finish();
        return kExitDone;
    }
    progress.Note("stopped on request after " + std::to_string(run.Done()) + " of " +
                  std::to_string(frames.size()) + " frames" +
                  (isSequence ? "" : "; no movie is left"));
    return StopRequested();
}

}  // namespace

int SparkRender(const Options& options) {
    WatchForStop();
    std::unique_ptr<ClipReader> front = OpenClip(options.plugin.front);
    const ClipInfo source = front->Info();
    CheckSize(source);
    const Format& format = FormatOf(options, source);
    const SampleDepth depth = OutputDepth(options, format);
    HostClips clips(options, format, std::move(front));
    ProgressLine progress(options.progress, options.quiet);
    SparkHost host(options.input);
    const std::vector<SparkSetting> settings = SettingsOf(options, host.Panel());
    host.session.serve = [&](int clip, int frame, std::byte* pixels) {
        clips.Serve(clip, frame, pixels);
        return true;
    };
    host.session.tell = [&](const std::string& text) {
        progress.Note(options.input + ": " + text);
    };
    host.session.setupIn = options.plugin.setup;
    host.SetFrames(FramesFor(options, source, format));
    host.Begin();
    for (const SparkSetting& setting : settings) setting.Apply(host.session.curves);
    return RenderAll(host, options, depth, clips.Infos(), progress);
}

}  // namespace velorin
