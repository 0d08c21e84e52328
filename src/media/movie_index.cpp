#include "media/movie_index.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

namespace velorin {
namespace {

constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

// What a walk over all packets finds.
struct Walk {
    MovieIndex index;
    std::int64_t packets = 0;
    std::int64_t hidden = 0;  // decoded, but cut away by an edit list
    std::int64_t lastDecodeTime = AV_NOPTS_VALUE;
    std::int64_t lastDuration = 0;
    bool timesMissing = false;
    bool failed = false;
};

void Note(const AVPacket& packet, bool reorders, Walk& walk) {
    ++walk.packets;
    if (packet.flags & AV_PKT_FLAG_CORRUPT) {
        walk.failed = true;
        return;
    }
    // Without reordering a picture is shown when it is decoded.
    const std::int64_t time = packet.pts == AV_NOPTS_VALUE && !reorders ? packet.dts : packet.pts;
    if (packet.dts != AV_NOPTS_VALUE) walk.lastDecodeTime = packet.dts;
    walk.lastDuration = packet.duration;
    if (time == AV_NOPTS_VALUE) {
        walk.timesMissing = true;
        return;
    }
    if (packet.flags & AV_PKT_FLAG_KEY) walk.index.keys.push_back({time, packet.dts});
    if (packet.flags & AV_PKT_FLAG_DISCARD) {
        ++walk.hidden;
    } else {
        walk.index.times.push_back(time);
    }
}

bool Reorders(const MovieStream& stream) {
    const AVCodecDescriptor* codec = avcodec_descriptor_get(stream.Stream().codecpar->codec_id);
    return codec != nullptr && (codec->props & AV_CODEC_PROP_REORDER) != 0 &&
           (codec->props & AV_CODEC_PROP_INTRA_ONLY) == 0;
}

Walk WalkPackets(MovieStream& stream) {
    Walk walk;
    const bool reorders = Reorders(stream);
    const AvPacket packet = MakePacket();
    int result;
    while ((result = stream.ReadPacket(*packet)) == 0) Note(*packet, reorders, walk);
    if (result != AVERROR_EOF) walk.failed = true;
    std::sort(walk.index.times.begin(), walk.index.times.end());
    std::sort(walk.index.keys.begin(), walk.index.keys.end(),
              [](const auto& a, const auto& b) { return a.time < b.time; });
    return walk;
}

bool HasDoubles(const std::vector<std::int64_t>& times) {
    return std::adjacent_find(times.begin(), times.end()) != times.end();
}

// Counts the pictures of a movie whose packets do not tell when they are shown.
void CountPictures(MovieStream& stream, MovieIndex& index) {
    index = {};
    index.counted = true;
    const AvFrame frame = MakeFrame();
    while (stream.Decode(*frame)) ++index.frames;
    index.readable = index.frames;
}

// Some packets show nothing: VP8's hidden references, second fields, and what comes before the
// first key and leans on pictures that are not there. Decoding up to `end` tells.
void DropHiddenPictures(MovieStream& stream, std::int64_t end, std::vector<std::int64_t>& times) {
    std::vector<std::int64_t> shown;
    const AvFrame frame = MakeFrame();
    while (stream.Decode(*frame) && TimeOf(*frame) < end) {
        if ((frame->flags & AV_FRAME_FLAG_CORRUPT) == 0) shown.push_back(TimeOf(*frame));
    }
    std::sort(shown.begin(), shown.end());
    std::erase_if(times, [&](std::int64_t time) {
        return time < end && !std::binary_search(shown.begin(), shown.end(), time);
    });
}

bool MayHideAnywhere(const AVCodecParameters& parameters) {
    const bool fields = parameters.field_order != AV_FIELD_UNKNOWN &&
                        parameters.field_order != AV_FIELD_PROGRESSIVE;
    return parameters.codec_id == AV_CODEC_ID_VP8 ||
           (fields &&
            (parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_VC1));
}

// Seconds from the start to the end of the pictures as the file's head promises; 0 if it does not.
// Only Matroska's is trusted: it stands for this stream, or there is no other.
double PromisedSeconds(const MovieStream& stream) {
    const AVFormatContext& format = stream.Format();
    if (std::string(format.iformat->name).find("matroska") == std::string::npos) return 0.0;
    const AVDictionaryEntry* tag = av_dict_get(stream.Stream().metadata, "DURATION", nullptr, 0);
    int hours = 0, minutes = 0;
    double seconds = 0.0;
    if (tag != nullptr && std::sscanf(tag->value, "%d:%d:%lf", &hours, &minutes, &seconds) == 3) {
        return hours * 3600.0 + minutes * 60.0 + seconds;
    }
    if (format.nb_streams > 1 || format.duration == AV_NOPTS_VALUE) return 0.0;
    return static_cast<double>(format.duration) / AV_TIME_BASE;
}

// How many pictures the whole movie has where its head promises more than there are; else 0.
std::int64_t PromisedFrames(const MovieStream& stream, const Walk& walk) {
    const AVStream& video = stream.Stream();
    const std::string kind = stream.Format().iformat->name;
    if (kind.find("mp4") != std::string::npos && video.nb_frames > walk.packets) {
        return video.nb_frames - walk.hidden;
    }
    const std::vector<std::int64_t>& times = walk.index.times;
    const double promised = PromisedSeconds(stream);
    const double tick = av_q2d(video.time_base);
    const double frame = video.avg_frame_rate.num > 0
                             ? 1.0 / av_q2d(video.avg_frame_rate)
                             : static_cast<double>(walk.lastDuration) * tick;
    if (promised <= 0.0 || times.empty() || frame <= 0.0) return 0;
    const double lacking = promised - static_cast<double>(times.back()) * tick - frame;
    if (lacking < 1.5 * frame) return 0;
    return static_cast<std::int64_t>(times.size()) + std::llround(lacking / frame);
}

// In a movie that is cut short the last pictures may lack some between them. All of those shown up
// to the last decoding time are there, as no picture is shown before it is decoded.
void FindReadable(const MovieStream& stream, Walk& walk) {
    MovieIndex& index = walk.index;
    const auto held = static_cast<std::int64_t>(index.times.size());
    const std::int64_t promised = PromisedFrames(stream, walk);
    index.frames = std::max(held, promised);
    index.readable = held;
    if ((promised > held || walk.failed) && walk.lastDecodeTime != AV_NOPTS_VALUE) {
        const auto end =
            std::upper_bound(index.times.begin(), index.times.end(), walk.lastDecodeTime);
        index.readable = end - index.times.begin();
        index.frames = std::max(index.frames, held + (walk.failed ? 1 : 0));
    }
}

}  // namespace

std::size_t MovieIndex::KeyBefore(std::int64_t frame) const {
    const auto after =
        std::upper_bound(keys.begin(), keys.end(), times[static_cast<std::size_t>(frame)],
                         [](std::int64_t time, const Key& key) { return time < key.time; });
    return after == keys.begin() ? 0 : static_cast<std::size_t>(after - keys.begin()) - 1;
}

bool MovieIndex::HasConstantRate() const {
    if (times.size() < 3) return true;
    const std::int64_t whole = times.back() - times.front();
    const auto steps = static_cast<std::int64_t>(times.size()) - 1;
    for (std::int64_t i = 0; i <= steps; ++i) {
        // Times are rounded to the stream's ticks.
        const std::int64_t even = times.front() + whole * i / steps;
        if (std::llabs(times[static_cast<std::size_t>(i)] - even) > 1) return false;
    }
    return true;
}

MovieIndex IndexMovie(MovieStream& stream) {
    Walk walk = WalkPackets(stream);
    stream.Rewind();
    MovieIndex& index = walk.index;
    if (walk.timesMissing || index.keys.empty() || HasDoubles(index.times)) {
        CountPictures(stream, index);
        stream.Rewind();
        return index;
    }
    const std::int64_t firstKey = index.keys.front().time;
    const bool anywhere = MayHideAnywhere(*stream.Stream().codecpar);
    if (anywhere || (!index.times.empty() && index.times.front() < firstKey)) {
        DropHiddenPictures(stream, anywhere ? kEver : firstKey, index.times);
        stream.Rewind();
    }
    FindReadable(stream, walk);
    return index;
}

}  // namespace velorin
