#include "media/retimed_sound.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "media/libav.h"

namespace velorin {
namespace {

constexpr int kBlock = 4096;
// Clicks come out of the filter early by so much, times 1 / speed - 1. Measured at speeds from 0.02
// to 10, where what is left is less than 16 milliseconds.
constexpr double kEarly = 0.014;

struct FreeGraph {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};

class Stretched : public SoundSource {
  public:
    Stretched(std::unique_ptr<SoundReader> soundReader, double newSpeed, double from,
              double seconds, int outputRate);
    const SoundInfo& Info() const override { return reader->Info(); }
    int Rate() const override { return rate; }
    void Read(std::int64_t count, double* samples) override;
    bool IsDamaged() const override { return reader->IsDamaged(); }

  private:
    [[noreturn]] void Throw(const std::string& problem) const;
    void Check(int result) const {
        if (result < 0) Throw(AvText(result));
    }
    void MakeGraph(double speed);
    AVFilterContext* Add(const char* filter, const std::string& arguments, AVFilterContext* behind);
    void Feed();
    void Fetch();

    std::unique_ptr<SoundReader> reader;
    int rate;
    std::int64_t fed;   // the next sample of the source
    std::int64_t end;   // of the source
    std::int64_t skip;  // samples of the output that come before its first one
    std::unique_ptr<AVFilterGraph, FreeGraph> graph;
    AVFilterContext* in = nullptr;
    AVFilterContext* out = nullptr;
    AvFrame frame;
    std::vector<double> block;
    std::vector<double> ready;  // taken from the filter and not yet asked for
};

Stretched::Stretched(std::unique_ptr<SoundReader> soundReader, double speed, double from,
                     double seconds, int outputRate)
    : reader(std::move(soundReader)), rate(outputRate), frame(MakeFrame()) {
    const int sourceRate = Info().rate;
    fed = std::llround((from - kEarly * std::max(0.0, 1.0 - speed)) * sourceRate);
    end = std::llround(seconds * sourceRate);
    skip = std::llround(kEarly * std::max(0.0, 1.0 - 1.0 / speed) * rate);
    block.resize(static_cast<std::size_t>(kBlock) * static_cast<std::size_t>(Info().channels));
    MakeGraph(speed);
}

void Stretched::Throw(const std::string& problem) const {
    throw MediaError(MediaError::Kind::kFailure,
                     "--audio stretch: FFmpeg's filter rubberband fails (" + problem +
                         "); give --audio pitch or --audio drop");
}

AVFilterContext* Stretched::Add(const char* filter, const std::string& arguments,
                                AVFilterContext* behind) {
    const AVFilter* kind = avfilter_get_by_name(filter);
    if (kind == nullptr) Throw(std::string("no filter ") + filter + " is installed");
    AVFilterContext* made = nullptr;
    Check(avfilter_graph_create_filter(&made, kind, nullptr, arguments.c_str(), nullptr,
                                       graph.get()));
    if (behind != nullptr) Check(avfilter_link(behind, 0, made, 0));
    return made;
}

void Stretched::MakeGraph(double speed) {
    SilenceLibraries();
    graph.reset(avfilter_graph_alloc());
    if (!graph) throw std::bad_alloc();
    graph->nb_threads = 1;
    const std::string sourceRate = std::to_string(Info().rate);
    char tempo[64];
    std::snprintf(tempo, sizeof tempo, "tempo=%.17g:channels=together", speed);
    in = Add("abuffer",
             "sample_fmt=fltp:sample_rate=" + sourceRate + ":time_base=1/" + sourceRate +
                 ":channel_layout=" + Info().layout,
             nullptr);
    AVFilterContext* last = Add("rubberband", tempo, in);
    last = Add("aresample", std::to_string(rate), last);
    last = Add("aformat", "sample_fmts=dbl", last);
    out = Add("abuffersink", "", last);
    Check(avfilter_graph_config(graph.get(), nullptr));
}

// What lies outside the clip is silence, and never ends.
void Stretched::Feed() {
    const int channels = Info().channels;
    reader->Read(fed, kBlock, block.data());
    const AvFrame filled = MakeFrame();
    filled->format = AV_SAMPLE_FMT_FLTP;
    filled->sample_rate = Info().rate;
    filled->nb_samples = kBlock;
    filled->pts = fed;
    Check(av_channel_layout_from_string(&filled->ch_layout, Info().layout.c_str()));
    Check(av_frame_get_buffer(filled.get(), 0));
    for (int c = 0; c < channels; ++c) {
        auto* plane = reinterpret_cast<float*>(filled->extended_data[c]);
        for (int i = 0; i < kBlock; ++i) {
            const bool inside = fed + i >= 0 && fed + i < end;
            plane[i] = inside
                           ? static_cast<float>(block[static_cast<std::size_t>(i * channels + c)])
                           : 0.0f;
        }
    }
    fed += kBlock;
    Check(av_buffersrc_add_frame(in, filled.get()));
}

// Takes over what the filter has ready, or feeds it.
void Stretched::Fetch() {
    const int result = av_buffersink_get_frame(out, frame.get());
    if (result == AVERROR(EAGAIN)) return Feed();
    Check(result);
    const auto dropped = std::min<std::int64_t>(skip, frame->nb_samples);
    skip -= dropped;
    const auto* samples = reinterpret_cast<const double*>(frame->data[0]);
    ready.insert(ready.end(), samples + dropped * Info().channels,
                 samples + std::int64_t{frame->nb_samples} * Info().channels);
    av_frame_unref(frame.get());
}

void Stretched::Read(std::int64_t count, double* samples) {
    const auto wanted = static_cast<std::size_t>(count * Info().channels);
    while (ready.size() < wanted) Fetch();
    std::copy_n(ready.begin(), wanted, samples);
    ready.erase(ready.begin(), ready.begin() + static_cast<std::ptrdiff_t>(wanted));
}

}  // namespace

std::unique_ptr<SoundSource> StretchedSound(std::unique_ptr<SoundReader> reader, double speed,
                                            double from, double seconds, int outputRate) {
    return std::make_unique<Stretched>(std::move(reader), speed, from, seconds, outputRate);
}

}  // namespace velorin
