#include "cli/motion_transfer.h"

#include <bit>
#include <cstdint>

#include "cli/motion_options.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

constexpr double kGain = 1023.0 / 16.0;
constexpr double kOctaves = 10.0;  // from 1 to 1024

// For 1 and above, within 1e-9. Products and sums alone: the library's own logarithm differs in
// its last bit from processor to processor, and so would the motion.
double Log2(double value) {
    constexpr double kSquareRootOf2 = 1.4142135623730951;
    constexpr double kTwoOverLn2 = 2.8853900817779268;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    double exponent = static_cast<double>(static_cast<int>(bits >> 52) - 1023);
    double mantissa = std::bit_cast<double>((bits & 0xfffffffffffff) | 0x3ff0000000000000);
    if (mantissa > kSquareRootOf2) {
        mantissa *= 0.5;
        exponent += 1.0;
    }
    const double s = (mantissa - 1.0) / (mantissa + 1.0);
    const double q = s * s;
    const double series =
        ((((q / 11.0 + 1.0 / 9.0) * q + 1.0 / 7.0) * q + 1.0 / 5.0) * q + 1.0 / 3.0) * q + 1.0;
    return exponent + kTwoOverLn2 * s * series;
}

const ClipInfo& TrackedClip(const RunClips& clips) {
    return (clips.motion ? clips.motion : clips.source)->Info();
}

template <typename Value>
Value Compressed(Value sample) {
    if constexpr (std::is_floating_point_v<Value>) {
        return CompressedTone(sample);
    } else {
        constexpr auto kWhite = static_cast<float>(PictureType<Value>::kWhite);
        const float light = static_cast<float>(sample) / kWhite;
        return RoundInside<Value>(CompressedTone(light) / CompressedTone(1.0f) * kWhite);
    }
}

}  // namespace

float CompressedTone(float light) {
    const double amount = light < 0.0f ? -static_cast<double>(light) : static_cast<double>(light);
    if (!(amount > 0.0)) return light;  // zero, and no number
    const double tone = Log2(1.0 + kGain * amount) / kOctaves;
    return static_cast<float>(light < 0.0f ? -tone : tone);
}

void CompressTones(Picture& picture) {
    WithPictureType(picture.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        auto* samples = reinterpret_cast<Value*>(picture.pixels.data());
        const std::size_t rowSamples = static_cast<std::size_t>(picture.width) * picture.channels;
        ParallelRows(picture.height, [&](int firstRow, int lastRow) {
            Value* pixel = samples + firstRow * rowSamples;
            const Value* end = samples + (lastRow + 1) * rowSamples;
            for (; pixel != end; pixel += picture.channels) {
                for (int c = 0; c < 3; ++c) pixel[c] = Compressed(pixel[c]);
            }
        });
    });
}

bool CompressesTones(const Options& options, const RunClips& clips) {
    const int transfer = options.motionTransfer.value_or(kTransferNone);
    return transfer == kTransferLog ||
           (transfer == kTransferAuto && TrackedClip(clips).sceneLinear);
}

void NoteMotionTransfer(const Options& options, const RunPlan& plan, const RunClips& clips,
                        ProgressLine& progress) {
    const bool measured = plan.pairs > 0 && !TakesVectors(options);
    if (!options.motionTransfer && measured && TrackedClip(clips).sceneLinear) {
        progress.Note(TrackedClip(clips).name +
                      ": holds scene-linear light, in which shadows hardly count for motion; "
                      "--motion-transfer log measures it as the eye sees it");
    } else if (options.motionTransfer.value_or(kTransferNone) != kTransferNone && !measured) {
        progress.Note("--motion-transfer: changes nothing where no motion is measured");
    }
}

}  // namespace velorin
