#include "media/converted_clip.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {
namespace {

// The way of a sample from one type to another. Without levels it is scaled by one factor, as
// copies of images do it; that factor would not carry the level of white exactly to white. A sample
// that stays of its type stays as it is: who reads mattes takes any value.
struct Stretch {
    float black = 0.0f;
    float span = 1.0f;
    float toWhite = 1.0f;
    float scale = 1.0f;
    bool leveled = false;
    bool keeps;

    Stretch(int fromType, int toType, const std::optional<MatteLevels>& levels)
        : keeps(fromType == toType && !levels) {
        float fromWhite = 1.0f;
        LookUpWhitePoint(fromType, fromWhite);
        LookUpWhitePoint(toType, toWhite);
        scale = toWhite / fromWhite;
        if (!levels) return;
        black = levels->black;
        span = levels->white - levels->black;
        leveled = true;
    }

    template <typename To>
    To Carry(float sample) const {
        if (keeps) return static_cast<To>(sample);
        const float scaled = leveled ? (sample - black) / span * toWhite : sample * scale;
        if (!(scaled > 0.0f)) return 0;
        return RoundInside<To>(std::min(scaled, toWhite));
    }
};

std::size_t PixelsOf(const Picture& picture) {
    return static_cast<std::size_t>(picture.width) * picture.height;
}

// Every `step`th sample from `first` on, through `stretch`, into samples that follow each other.
void Convert(const Picture& from, int first, int step, const Stretch& stretch, Picture& to) {
    const std::size_t count = PixelsOf(to) * to.channels;
    WithTypePair(to.pixelType, from.pixelType, [&](auto toZero, auto fromZero) {
        using To = decltype(toZero);
        const auto* in = reinterpret_cast<const decltype(fromZero)*>(from.pixels.data()) + first;
        auto* out = reinterpret_cast<To*>(to.pixels.data());
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = stretch.Carry<To>(static_cast<float>(in[i * step]));
        }
    });
}

// Both readers run on a thread that reads ahead, beside the engine's: no rows on threads here.
class ConvertingReader : public ClipReader {
  public:
    explicit ConvertingReader(std::unique_ptr<ClipReader> newClip) : clip(std::move(newClip)) {}
    const ClipInfo& Info() const override { return clip->Info(); }

  protected:
    const Picture& ReadStored(std::int64_t frame) {
        clip->Read(frame, stored);
        return stored;
    }

  private:
    std::unique_ptr<ClipReader> clip;
    Picture stored;
};

class MatteReader final : public ConvertingReader {
  public:
    MatteReader(std::unique_ptr<ClipReader> newClip, const MatteSettings& newSettings, int newType)
        : ConvertingReader(std::move(newClip)), settings(newSettings), pixelType(newType) {}

    void Read(std::int64_t frame, Picture& picture) override {
        const Picture& from = ReadStored(frame);
        picture.SetShape(from.width, from.height, pixelType, 1);
        Convert(from, settings.channel, from.channels,
                Stretch(from.pixelType, pixelType, settings.levels), picture);
    }

  private:
    MatteSettings settings;
    int pixelType;
};

class TypedReader final : public ConvertingReader {
  public:
    TypedReader(std::unique_ptr<ClipReader> newClip, int newType)
        : ConvertingReader(std::move(newClip)), pixelType(newType) {}

    void Read(std::int64_t frame, Picture& picture) override {
        const Picture& from = ReadStored(frame);
        picture.SetShape(from.width, from.height, pixelType);
        Convert(from, 0, 1, Stretch(from.pixelType, pixelType, {}), picture);
    }

  private:
    int pixelType;
};

}  // namespace

float ConvertMatteSample(float sample, int fromType, int toType,
                         const std::optional<MatteLevels>& levels) {
    const Stretch stretch(fromType, toType, levels);
    float converted = 0.0f;
    WithPictureType(toType, [&](auto zero) {
        converted = static_cast<float>(stretch.Carry<decltype(zero)>(sample));
    });
    return converted;
}

ValueRange RangeOf(const Picture& picture, int channel) {
    ValueRange range;
    WithPictureType(picture.pixelType, [&](auto zero) {
        const auto* in = reinterpret_cast<const decltype(zero)*>(picture.pixels.data()) + channel;
        for (std::size_t i = 0; i < PixelsOf(picture); ++i) {
            const auto stored = static_cast<float>(in[i * picture.channels]);
            const float value = stored == stored ? stored : 0.0f;
            if (i == 0) range = {value, value};
            range.least = std::min(range.least, value);
            range.greatest = std::max(range.greatest, value);
        }
    });
    return range;
}

std::unique_ptr<ClipReader> ReadAsMatte(std::unique_ptr<ClipReader> clip,
                                        const MatteSettings& settings, int pixelType) {
    return std::make_unique<MatteReader>(std::move(clip), settings, pixelType);
}

std::unique_ptr<ClipReader> ReadAsType(std::unique_ptr<ClipReader> clip, int pixelType) {
    if (PixelTypeOf(clip->Info().depth) == pixelType) return clip;
    return std::make_unique<TypedReader>(std::move(clip), pixelType);
}

}  // namespace velorin
