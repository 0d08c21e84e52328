#include "media/sound.h"

#include <cmath>
#include <numbers>

#include "media/clips.h"
#include "media/retimed_sound.h"

namespace velorin {
namespace {

constexpr int kRate = 48000;
constexpr int kSeconds = 12;
constexpr std::int64_t kClick = 12000;  // samples from one to the next

SoundInfo InfoOf(int channels, int bits, bool isFloat = false) {
    SoundInfo info;
    info.rate = kRate;
    info.channels = channels;
    info.layout = channels == 1 ? "mono" : "stereo";
    info.bits = bits;
    info.isFloat = isFloat;
    info.language = "fra";
    return info;
}

// Sound made of a function of the sample's number and the channel.
class MadeSound : public SoundSource {
  public:
    using Value = std::function<double(std::int64_t, int)>;
    MadeSound(SoundInfo made, Value makeValue) : info(std::move(made)), value(makeValue) {}
    const SoundInfo& Info() const override { return info; }
    int Rate() const override { return info.rate; }
    void Read(std::int64_t count, double* samples) override {
        for (; count > 0; --count, ++position) {
            for (int c = 0; c < info.channels; ++c) *samples++ = value(position, c);
        }
    }

  private:
    SoundInfo info;
    Value value;
    std::int64_t position = 0;
};

// Whole in 16 bits.
double Hash(std::int64_t i, int channel) {
    const auto mixed = static_cast<std::uint32_t>(i * 2654435761u + channel * 40503u) >> 16;
    return (static_cast<double>(mixed) - 32768.0) / 32768.0;
}

// A short pulse of a band that all speeds below 2 keep.
double Pulse(std::int64_t i, int) {
    const double x = static_cast<double>((i + kClick / 2) % kClick - kClick / 2) / 8.0;
    return 0.9 * std::exp(-x * x);
}

std::string WriteSound(const std::string& name, SoundInfo info, MadeSound::Value value) {
    OutputSettings settings = SettingsFor(SourceInfo(16, 16, 3, SampleDepth::kByte));
    settings.sound = std::make_shared<MadeSound>(info, value);
    WriteClip(name, settings,
              std::vector<Picture>(24 * kSeconds, NoisePicture<std::uint8_t>(1, 16, 16, 3)));
    return name;
}

std::unique_ptr<SoundReader> ReaderOf(const std::string& name) {
    const ClipInfo info = OpenClip(name)->Info();
    return std::make_unique<SoundReader>(name, info.sound.value(), info.firstPicture);
}

std::vector<double> ReadAll(SoundReader& reader, std::int64_t block, bool backwards) {
    const std::int64_t count = kRate * kSeconds;
    std::vector<double> samples(static_cast<std::size_t>(count * reader.Info().channels));
    const std::int64_t blocks = (count + block - 1) / block;
    for (std::int64_t k = 0; k < blocks; ++k) {
        const std::int64_t first = (backwards ? blocks - 1 - k : k) * block;
        reader.Read(first, std::min(block, count - first),
                    samples.data() + first * reader.Info().channels);
    }
    return samples;
}

TEST(Sound, FormatsThatLoseNothingGiveTheSamplesBack) {
    const TemporaryFolder folder;
    struct {
        std::string name, codec;
        int bits;
        bool isFloat;
    } const cases[] = {{"a.mov", "pcm_s16le", 16, false}, {"b.mov", "pcm_s24le", 24, false},
                       {"c.mov", "pcm_s32le", 32, false}, {"d.mov", "pcm_f32le", 0, true},
                       {"a.mkv", "flac", 16, false},      {"b.mkv", "flac", 24, false},
                       {"c.mkv", "pcm_s32le", 32, false}, {"d.mkv", "pcm_f32le", 0, true}};
    for (const auto& one : cases) {
        const std::string name =
            WriteSound(folder / one.name, InfoOf(2, one.bits, one.isFloat), Hash);
        const auto reader = ReaderOf(name);
        EXPECT_EQ(reader->Info().codec, one.codec) << one.name;
        EXPECT_EQ(reader->Info().language, "fra") << one.name;
        EXPECT_EQ(reader->Info().layout, "stereo") << one.name;
        const std::vector<double> samples = ReadAll(*reader, 4001, false);
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            wrong += samples[i] != Hash(static_cast<std::int64_t>(i / 2), static_cast<int>(i % 2));
        }
        EXPECT_EQ(wrong, 0u) << one.name;
        EXPECT_EQ(samples, ReadAll(*reader, 3001, true)) << one.name;
        EXPECT_EQ(samples, ReadAll(*reader, 100000, false)) << one.name << ", once more";
        double outside[4] = {1, 1, 1, 1};
        reader->Read(-2, 2, outside);
        EXPECT_EQ(std::vector<double>(outside, outside + 4), std::vector<double>(4, 0.0));
    }
}

// Packets of half a second, in which what is no sound counts as silence.
TEST(Sound, LongPacketsAreWholeWhereverReadingBegins) {
    const TemporaryFolder folder;
    const double noSounds[] = {std::nan(""), HUGE_VAL, -1e30};
    SoundInfo info = InfoOf(1, 0, true);
    info.rate = 8000;
    const auto reader =
        ReaderOf(WriteSound(folder / "a.mkv", info, [&](std::int64_t i, int channel) {
            return i % 1000 == 0 ? noSounds[i / 1000 % 3] : Hash(i, channel);
        }));
    const std::vector<double> samples = ReadAll(*reader, 4001, false);
    for (std::int64_t i = 0, wrong = 0; i < info.rate * kSeconds && wrong == 0; ++i) {
        wrong = samples[static_cast<std::size_t>(i)] != (i % 1000 == 0 ? 0.0 : Hash(i, 0));
        EXPECT_EQ(wrong, 0) << i;
    }
    EXPECT_EQ(samples, ReadAll(*reader, 301, true));
}

TEST(Sound, AacStandsInItsPlaceWhicheverWayItIsRead) {
    const TemporaryFolder folder;
    const auto reader = ReaderOf(WriteSound(folder / "a.mp4", InfoOf(1, 16), Pulse));
    EXPECT_EQ(reader->Info().codec, "aac");
    const std::vector<double> samples = ReadAll(*reader, 4001, false);
    EXPECT_EQ(samples, ReadAll(*reader, 3001, true));
    for (std::int64_t at = kClick; at < kRate * kSeconds; at += kClick) {
        const auto from = samples.begin() + at - 500;
        EXPECT_EQ(std::max_element(from, from + 1000) - from, 500) << at;
    }
}

std::vector<double> PlayedWith(SoundSource& source, double seconds) {
    const auto count = std::llround(seconds * source.Rate());
    std::vector<double> samples(static_cast<std::size_t>(count));
    for (std::int64_t done = 0; done < count; done += 777) {
        source.Read(std::min<std::int64_t>(777, count - done), samples.data() + done);
    }
    return samples;
}

// The sound of `name` with the source time `timeOf` of each half frame's beginning at 25 frames.
std::vector<double> Pitch(const std::string& name, std::function<double(std::int64_t)> timeOf,
                          double seconds, double length = kSeconds) {
    const auto stretchOf = [=](std::int64_t half) {
        return SoundStretch{timeOf(half), timeOf(half + 1)};
    };
    return PlayedWith(*PitchedSound(ReaderOf(name), stretchOf, {25, 1}, length, kRate), seconds);
}

TEST(Sound, PulsesStandWhereTheLawPutsThem) {
    const TemporaryFolder folder;
    const std::string name = WriteSound(folder / "a.mkv", InfoOf(1, 24), Pulse);
    const double period = static_cast<double>(kClick) / kRate;
    for (const double speed : {0.5, 0.999, 1.0, 2.0, -0.7}) {
        const double from = speed < 0 ? 9.0 : 0.0;
        const auto samples = Pitch(
            name, [=](std::int64_t half) { return from + speed * half / 50.0; }, 5.0);
        for (int k = 1; k < 10; ++k) {
            const double at =
                (period * std::floor(from / period) - from) / speed + k * period / std::abs(speed);
            if (at > 4.9) break;
            const auto place = samples.begin() + std::llround(at * kRate);
            const auto peak = std::max_element(place - 400, place + 400);
            EXPECT_LE(std::abs(peak - samples.begin() - at * kRate), 1.0) << speed << ", " << k;
            EXPECT_NEAR(*peak, 0.9, 0.05);
        }
    }
}

TEST(Sound, SpeedOneChangesNoSample) {
    const TemporaryFolder folder;
    const std::string name = WriteSound(folder / "a.mov", InfoOf(1, 24), Hash);
    const auto samples = Pitch(
        name, [](std::int64_t half) { return static_cast<double>(half) / 50.0; }, kSeconds);
    EXPECT_EQ(samples, ReadAll(*ReaderOf(name), 5000, false));
}

TEST(Sound, FreezesJumpsAndEndsAreSilentAndDoNotClick) {
    const TemporaryFolder folder;
    const auto tone = [](std::int64_t i, int) {
        return 0.8 * std::cos(2 * std::numbers::pi * 200 * static_cast<double>(i) / kRate);
    };
    const std::string name = WriteSound(folder / "a.mkv", InfoOf(1, 24), tone);
    const auto timeOf = [](std::int64_t half) {
        if (half < 50) return half / 50.0;
        if (half <= 100) return 1.0;  // a freeze for one second
        if (half < 150) return (half - 100) / 50.0 + 1.0;
        return (half - 150) / 50.0 + 8.0013;  // a jump in one half frame, then past the end
    };
    const auto samples = Pitch(name, timeOf, 5.0, 8.5);
    double step = 0.0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        step = std::max(step, std::abs(samples[i] - samples[i - 1]));
    }
    EXPECT_LT(step, 0.045);  // the tone's own is 0.021
    const auto loudest = [&](double from, double to) {
        double most = 0.0;
        for (auto i = static_cast<std::size_t>(from * kRate); i < to * kRate; ++i) {
            most = std::max(most, std::abs(samples[i]));
        }
        return most;
    };
    EXPECT_EQ(loudest(1.0, 1.99), 0.0);
    EXPECT_GT(loudest(2.0, 2.1), 0.7);
    EXPECT_GT(loudest(3.0, 3.1), 0.7);
    EXPECT_EQ(loudest(3.51, 5.0), 0.0);
}

// A tone of `hertz`, played at `speed`: the loudest sample of its middle.
double LoudestAt(const std::string& name, double speed) {
    const auto samples = Pitch(
        name, [=](std::int64_t half) { return 1.0 + speed * half / 50.0; }, 1.0);
    double most = 0.0;
    for (std::size_t i = kRate / 4; i < kRate * 3 / 4; ++i) {
        most = std::max(most, std::abs(samples[i]));
    }
    return most;
}

TEST(Sound, WhatTheOutputCannotHoldIsFilteredOut) {
    const TemporaryFolder folder;
    struct {
        double hertz, speed, least, most;
    } const cases[] = {{12500, 2.0, 0.0, 2e-5}, {10500, 2.0, 0.79, 0.81}, {20000, 0.5, 0.79, 0.81},
                       {20000, 1.5, 0.0, 2e-5}, {2800, 7.5, 0.79, 0.81},  {3300, 7.5, 0.0, 2e-5}};
    for (const auto& one : cases) {
        const std::string name = WriteSound(
            folder / std::to_string(one.hertz + one.speed) + ".mkv", InfoOf(1, 24),
            [&](std::int64_t i, int) {
                return 0.8 *
                       std::sin(2 * std::numbers::pi * one.hertz * static_cast<double>(i) / kRate);
            });
        const double loudest = LoudestAt(name, one.speed);
        EXPECT_GE(loudest, one.least) << one.hertz << " at " << one.speed;
        EXPECT_LE(loudest, one.most) << one.hertz << " at " << one.speed;
    }
}

TEST(Sound, StretchedPulsesStandWithinAFrame) {
    const TemporaryFolder folder;
    const std::string name = WriteSound(folder / "a.mov", InfoOf(1, 16), Pulse);
    for (const double speed : {0.1, 0.5, 0.999, 2.0}) {
        const auto source = StretchedSound(ReaderOf(name), speed, 0.0, kSeconds, kRate);
        const auto samples = PlayedWith(*source, 5.0);
        const double period = static_cast<double>(kClick) / kRate / speed;
        for (int k = 1; (k + 0.5) * period < 5.0; ++k) {
            const auto from = static_cast<std::int64_t>((k - 0.5) * period * kRate);
            const auto to = static_cast<std::int64_t>((k + 0.5) * period * kRate);
            const auto peak = std::max_element(samples.begin() + from, samples.begin() + to);
            EXPECT_NEAR(static_cast<double>(peak - samples.begin()) / kRate, k * period, 1.0 / 24)
                << speed << ", " << k;
        }
    }
}

}  // namespace
}  // namespace velorin
