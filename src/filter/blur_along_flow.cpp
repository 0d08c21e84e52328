#include "filter/blur_along_flow.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>

#include "image/bilinear.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

struct BlurJob {
    ZPImage& dest;
    const ZPImage& source;
    const ZPImage& flow;
    int x0, x1, y0, y1;
    float amount;
};

// How a place becomes a sample. `kShortest` is the square of the half path below which a pixel is
// copied; `Settle` gives the coordinate that decides whether the sample lies inside.
struct BilinearSamples {
    static constexpr float kShortest = 1e-6f;
    static float Settle(float position) { return position; }
    template <typename Reader>
    static auto Read(const Reader& source, float x, float y) {
        return source.Between(x, y);
    }
};

struct NearestSamples {
    static constexpr float kShortest = 1.0f;
    static float Settle(float position) { return position + 0.5f; }
    template <typename Reader>
    static auto Read(const Reader& source, float x, float y) {
        return source.At(TruncateInside(x), TruncateInside(y));
    }
};

template <typename Form, typename Samples, bool kOutsideCounts>
class StripBlur {
  public:
    using Value = typename Form::Value;
    static constexpr int kChannels = Form::kChannels;

    explicit StripBlur(const BlurJob& newJob)
        : job(newJob),
          flowScaleX(static_cast<float>(job.flow.lastColumn) /
                     static_cast<float>(job.source.lastColumn)),
          flowScaleY(static_cast<float>(job.flow.lastRow) / static_cast<float>(job.source.lastRow)),
          halfTravelX(0.5f / flowScaleX * job.amount),
          halfTravelY(0.5f / flowScaleY * job.amount) {}

    void Row(int row) const {
        const float y = static_cast<float>(row);
        const FlowLine line(job.flow, y * flowScaleY);
        const Value* in = job.source.Row<Value>(row) + job.x0 * kChannels;
        Value* out = job.dest.Row<Value>(row) + job.x0 * kChannels;
        for (int column = job.x0; column <= job.x1; ++column, in += kChannels, out += kChannels) {
            const float x = static_cast<float>(column);
            float u, v;
            line.At(x * flowScaleX, u, v);
            const float halfX = u * halfTravelX;
            const float halfY = v * halfTravelY;
            const float squared = halfX * halfX + halfY * halfY;
            if (squared < Samples::kShortest) {
                std::copy_n(in, kChannels, out);
            } else {
                Blur(x, y, halfX, halfY, std::sqrt(squared), out);
            }
        }
    }

  private:
    using Lanes = PixelLanes<kChannels>;

    void Blur(float x, float y, float halfX, float halfY, float length, Value* out) const {
        // Beyond the integers, and for a NaN, the cut is negative.
        int samples = Truncate(length + 1.0f);
        float stepX = halfX;
        float stepY = halfY;
        if (samples > 1) {
            stepX /= static_cast<float>(samples - 1);
            stepY /= static_cast<float>(samples - 1);
        } else {
            samples = 2;
        }
        Lanes sum = Lanes::All(0.0f);
        std::int64_t count = Walk(sum, x, y, stepX, stepY, samples);
        count += Walk(sum, x - stepX, y - stepY, -stepX, -stepY, samples - 1);
        if constexpr (kOutsideCounts) count = 2 * static_cast<std::int64_t>(samples) - 1;
        StoreClamped(sum * (1.0f / static_cast<float>(count)), out);
    }

    // Adds the samples inside the picture in the order of the walk and answers their count. The
    // first one outside ends it, also where those outside count: they add nothing, and a walk that
    // has left the picture never comes back, as each of its coordinates moves one way only.
    int Walk(Lanes& sum, float x, float y, float stepX, float stepY, int samples) const {
        for (int i = 0; i < samples; ++i, x += stepX, y += stepY) {
            const float sx = Samples::Settle(x);
            const float sy = Samples::Settle(y);
            // Written so that a NaN is not inside.
            if (!(sx >= 0.0f && sx < width && sy >= 0.0f && sy < height)) return i;
            sum = sum + Samples::Read(reader, sx, sy);
        }
        return samples;
    }

    const BlurJob& job;
    const PixelReader<Form> reader{job.source};
    const float width = static_cast<float>(job.source.width);
    const float height = static_cast<float>(job.source.height);
    float flowScaleX;
    float flowScaleY;
    float halfTravelX;
    float halfTravelY;
};

using BlurKernel = void (*)(const BlurJob& job, int firstRow, int lastRow,
                            KQIdleAndProgressClass& progress);

template <typename Strip>
void BlurRows(const BlurJob& job, int firstRow, int lastRow, KQIdleAndProgressClass& progress) {
    const Strip strip(job);
    for (int y = firstRow; y <= lastRow; ++y) {
        strip.Row(y);
        if (firstRow == lastRow) continue;
        progress.ReportProgress(static_cast<float>(y - firstRow) /
                                static_cast<float>(lastRow - firstRow));
    }
}

template <typename Form>
BlurKernel ChooseKernel(bool bilinear, bool outsideCounts) {
    if (bilinear) {
        return outsideCounts ? BlurRows<StripBlur<Form, BilinearSamples, true>>
                             : BlurRows<StripBlur<Form, BilinearSamples, false>>;
    }
    return outsideCounts ? BlurRows<StripBlur<Form, NearestSamples, true>>
                         : BlurRows<StripBlur<Form, NearestSamples, false>>;
}

bool Fits(const BlurJob& job) {
    const ZPImage& source = job.source;
    const ZPImage& flow = job.flow;
    if (ShapeDiffers(&job.dest, &source) || job.dest.pixelType != source.pixelType) return false;
    if (job.dest.data == source.data) return false;
    if (!flow.data || flow.pixelType != ZPPixFloat || flow.channels != 2) return false;
    if (source.width < 2 || source.height < 2 || flow.width < 2 || flow.height < 2) return false;
    return job.x0 >= 0 && job.x1 <= source.lastColumn && job.y0 >= 0 && job.y1 <= source.lastRow;
}

}  // namespace

void BlurAlongFlow(ZPImage& dest, const ZPImage& source, const ZPImage& flow, int bilinear,
                   KQIdleAndProgressClass* progress, int outsideCounts, int x0, int x1, int y0,
                   int y1, float amount) {
    const BlurJob job{dest, source, flow, x0, x1, y0, y1, amount};
    if (!Fits(job)) throw ZPErrBadArgument;
    if (x0 > x1 || y0 > y1) return;
    const bool known = WithPictureForm(source, [&](auto form) {
        const BlurKernel blurRows = ChooseKernel<decltype(form)>(bilinear == 1, outsideCounts != 0);
        std::atomic<std::int32_t> stop{0};
        ParallelRows(y1 - y0 + 1, [&](int worker, int firstRow, int lastRow) {
            KQIldeAndProgressMPInterruptible strip(progress, worker == 0, &stop);
            blurRows(job, y0 + firstRow, y0 + lastRow, strip);
        });
    });
    if (!known) throw ZPErrBadArgument;
}

}  // namespace velorin
