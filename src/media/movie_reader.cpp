#include "media/movie_reader.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "media/movie_colours.h"
#include "media/movie_fields.h"
#include "media/movie_index.h"
#include "media/movie_pixels.h"
#include "media/movie_stream.h"
#include "media/picture_times.h"
#include "media/sound_reader.h"
#include "media/timecode.h"

namespace velorin {
namespace {

// Up to here it is as quick to decode on as to look for a key picture.
constexpr std::int64_t kShortWay = 8;
// Key pictures before the wanted frame's that are tried where decoding from that one misses it.
constexpr std::size_t kEarlierKeys = 3;

class MovieReader : public ClipReader {
  public:
    explicit MovieReader(const std::string& name);
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override;
    void KeepFieldsApart() override { converter.KeepFieldsApart(); }

  private:
    void Describe(const std::string& name);
    void FindUnevenTimes();
    void FindTimecode();
    void FindFieldOrder();
    bool Decode(std::int64_t frame);
    [[noreturn]] void Throw(std::int64_t frame, const std::string& problem) const;
    void CheckThere(std::int64_t frame) const;
    bool DecodeOnTo(std::int64_t frame);
    bool FindByTime(std::int64_t frame);
    bool FindByCount(std::int64_t frame);

    MovieStream stream;
    MovieIndex index;
    ClipInfo info;
    Turn turn;
    PixelConverter converter;
    AvFrame decoded;
    std::int64_t position = -1;  // number of the decoded frame, -1 before the first
    bool atPosition = true;      // the decoder stands right behind it
};

MovieReader::MovieReader(const std::string& name)
    : stream(name), index(IndexMovie(stream)), turn(TurnOf(stream.Stream())), decoded(MakeFrame()) {
    Describe(name);
    FindUnevenTimes();
    FindTimecode();
    FindFieldOrder();
}

void MovieReader::Describe(const std::string& name) {
    const AVStream& video = stream.Stream();
    const AVCodecContext& decoder = stream.Decoder();
    if (decoder.pix_fmt == AV_PIX_FMT_NONE || decoder.width <= 0 || index.frames == 0) {
        throw MediaError(MediaError::Kind::kInput,
                         name + ": no picture in it can be decoded; copy or export it again");
    }
    info.name = name;
    info.width = turn.transposed ? decoder.height : decoder.width;
    info.height = turn.transposed ? decoder.width : decoder.height;
    info.window = info.display = {0, 0, info.width, info.height};
    DescribePictures(decoder, info);
    info.frames = index.frames;
    info.sound = FindSound(stream.Format());
    if (!index.times.empty()) {
        info.firstPicture = static_cast<double>(index.times.front()) * av_q2d(video.time_base);
    }

    AVStream* asked = const_cast<AVStream*>(&video);
    auto* format = const_cast<AVFormatContext*>(&stream.Format());
    const bool varies = !index.counted && !index.HasConstantRate();
    const AVRational rate = varies && video.avg_frame_rate.num > 0
                                ? video.avg_frame_rate
                                : av_guess_frame_rate(format, asked, nullptr);
    if (rate.num > 0) info.rate = Unrounded({rate.num, rate.den});
    AVRational aspect = av_guess_sample_aspect_ratio(format, asked, nullptr);
    if (aspect.num <= 0) aspect = {1, 1};
    info.pixelAspect = {aspect.num, aspect.den};
    if (turn.transposed) std::swap(info.pixelAspect.numerator, info.pixelAspect.denominator);
}

void MovieReader::FindUnevenTimes() {
    const AVRational tick = stream.Stream().time_base;
    if (index.counted || !AreUneven(index.times, {tick.num, tick.den})) return;
    auto times = std::make_shared<PictureTimes>(PictureTimes{index.times, {tick.num, tick.den}});
    info.rate = NominalRate(times->ticks, times->tick, info.rate);
    // What a movie that is cut short lacks is looked for where it would most likely stand.
    const AVRational rate{static_cast<int>(info.rate.numerator),
                          static_cast<int>(info.rate.denominator)};
    const std::int64_t last = times->ticks.back();
    for (std::int64_t i = 1; std::ssize(times->ticks) < info.frames; ++i) {
        times->ticks.push_back(last + std::max(av_rescale_q(i, av_inv_q(rate), tick), i));
    }
    info.times = std::move(times);
}

void MovieReader::FindTimecode() {
    for (const AVDictionary* tags : {stream.Stream().metadata, stream.Format().metadata}) {
        const AVDictionaryEntry* found = av_dict_get(tags, "timecode", nullptr, 0);
        if (!info.timecode && found) info.timecode = ParseTimecode(found->value);
    }
    info.timecodeRate = TimecodeRate(info.rate);
}

// The first picture is decoded in any case, before any other. Which version of an encoder made a
// movie, with the faults that decoders make good, stands in its first packet alone: one that began
// elsewhere would draw other pictures, or none. It stays decoded, as most likely the first one
// read.
void MovieReader::FindFieldOrder() {
    const bool decodes = index.readable > 0 && Decode(0);
    // Turned pictures have their fields in columns, or the other way up.
    if (turn.transposed || turn.mirrorY) return;
    info.fieldOrder = FieldOrderOf(stream.Stream(), decodes ? decoded.get() : nullptr);
}

void MovieReader::Throw(std::int64_t frame, const std::string& problem) const {
    throw MediaError(MediaError::Kind::kInput,
                     info.name + ", frame " + std::to_string(frame) + ": " + problem);
}

void MovieReader::CheckThere(std::int64_t frame) const {
    if (frame < 0 || frame >= info.frames) {
        Throw(frame, "there is no such frame; the last is " + std::to_string(info.frames - 1));
    }
    if (frame >= index.readable) {
        Throw(frame, "the movie is cut short, the last whole frame is " +
                         std::to_string(index.readable - 1) + "; copy or export it again");
    }
}

// Decodes on until the frame's time. False if it does not come by.
bool MovieReader::DecodeOnTo(std::int64_t frame) {
    const std::int64_t wanted = index.times[static_cast<std::size_t>(frame)];
    atPosition = false;
    while (stream.Decode(*decoded)) {
        const std::int64_t time = TimeOf(*decoded);
        if (time == wanted && (decoded->flags & AV_FRAME_FLAG_CORRUPT) == 0 &&
            decoded->decode_error_flags == 0) {
            atPosition = true;
            return true;
        }
        if (time != AV_NOPTS_VALUE && time >= wanted) return false;
    }
    return false;
}

bool MovieReader::FindByTime(std::int64_t frame) {
    const std::size_t key = index.KeyBefore(frame);
    const bool ahead = atPosition && frame > position;
    const bool sameGroup = ahead && position >= 0 && index.KeyBefore(position) == key;
    if (ahead && (sameGroup || frame - position <= kShortWay) && DecodeOnTo(frame)) return true;
    const std::size_t earliest = key > kEarlierKeys ? key - kEarlierKeys : 0;
    for (std::size_t start = key + 1; start-- > earliest;) {
        const MovieIndex::Key& from = index.keys[start];
        if (stream.GoToKey(from.time, from.decodeTime) && DecodeOnTo(frame)) return true;
    }
    return false;
}

bool MovieReader::FindByCount(std::int64_t frame) {
    if (!atPosition || frame < position) {
        stream.Rewind();
        position = -1;
        atPosition = true;
    }
    while (position < frame) {
        if (!stream.Decode(*decoded)) {
            atPosition = false;
            return false;
        }
        ++position;
    }
    return true;
}

// Leaves the frame in `decoded`. False where the movie does not give it.
bool MovieReader::Decode(std::int64_t frame) {
    const bool held = atPosition && frame == position;
    if (!held && !(index.counted ? FindByCount(frame) : FindByTime(frame))) return false;
    position = frame;
    return true;
}

void MovieReader::Read(std::int64_t frame, Picture& picture) {
    CheckThere(frame);
    if (!Decode(frame)) {
        Throw(frame, "cannot be decoded, the movie is damaged; copy or export it again");
    }
    try {
        converter.ToPicture(*decoded, turn, picture);
    } catch (const std::runtime_error& error) {
        Throw(frame, error.what());
    }
    if (picture.width != info.width || picture.height != info.height ||
        picture.pixelType != PixelTypeOf(info.depth)) {
        Throw(frame, "its size or depth is not that of the movie, " + std::to_string(info.width) +
                         " x " + std::to_string(info.height) + "; export it with one size");
    }
}

}  // namespace

std::unique_ptr<ClipReader> OpenMovie(const std::string& name) {
    return std::make_unique<MovieReader>(name);
}

}  // namespace velorin
