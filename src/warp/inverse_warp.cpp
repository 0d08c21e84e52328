#include "warp/inverse_warp.h"

#include <cmath>
#include <cstdio>

#include "image/arithmetic.h"
#include "image/bilinear.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

struct WarpJob {
    ZPImage& destination;
    const ZPImage& source;
    const ZPImage& flow;
    ZPImage* coverage;
    bool extendEdges;
    float amount;
};

// A place in the source and the bounds it is compared with.
struct Place {
    float sx;
    float sy;

    // Written so that a NaN is not inside.
    bool Inside(float lastColumn, float lastRow) const {
        return sx >= 0.0f && sx <= lastColumn && sy >= 0.0f && sy <= lastRow;
    }
    bool Off(float width, float height) const {
        return !(sx > -1.0f) || !(sx < width) || !(sy > -1.0f) || !(sy < height);
    }
};

// The place pulled into the image; the pixel's own where that is impossible.
Place PullInside(Place place, float x, float y, float lastColumn, float lastRow) {
    if (!std::isfinite(place.sx) || !std::isfinite(place.sy)) return {x, y};
    ZPClipToImage(place.sx, place.sy, x, y, lastColumn, lastRow);
    return place.Inside(lastColumn, lastRow) ? place : Place{x, y};
}

// How much of a pixel in the band around the image is left.
//
// On purpose not reset for each pixel or row: along a run of places above or below the image the
// weight keeps falling, until a place off the left or right edge sets it anew.
void Fade(const Place& place, const ZPImage& source, float& edgeWeight) {
    if (place.sx < 0.0f) {
        edgeWeight = place.sx + 1.0f;
    } else if (place.sx > static_cast<float>(source.lastColumn)) {
        edgeWeight = static_cast<float>(source.width) - place.sx;
    }
    if (place.sy < 0.0f) {
        edgeWeight = edgeWeight * (place.sy + 1.0f);
    } else if (place.sy > static_cast<float>(source.lastRow)) {
        edgeWeight = (static_cast<float>(source.height) - place.sy) * edgeWeight;
    }
}

std::uint8_t FadedCoverage(float edgeWeight) {
    const float coverage = edgeWeight * 255.0f + 0.5f;
    return coverage > 255.0f ? 255 : static_cast<std::uint8_t>(TruncateInside(coverage));
}

template <typename Form>
class StripWarp {
  public:
    using Value = typename Form::Value;
    static constexpr int kChannels = Form::kChannels;

    explicit StripWarp(const WarpJob& newJob)
        : job(newJob),
          flowScaleX(static_cast<float>(job.flow.lastColumn) / right),
          flowScaleY(static_cast<float>(job.flow.lastRow) / bottom),
          travelX(job.amount / flowScaleX),
          travelY(job.amount / flowScaleY) {}

    void Row(int row) {
        const float y = static_cast<float>(row);
        const FlowLine line(job.flow, y * flowScaleY);
        Value* out = job.destination.Row<Value>(row);
        std::uint8_t* covered =
            job.coverage && !job.extendEdges ? job.coverage->Row<std::uint8_t>(row) : nullptr;
        for (int column = 0; column < job.source.width; ++column, out += kChannels) {
            const float x = static_cast<float>(column);
            float u, v;
            line.At(x * flowScaleX, u, v);
            const Place place{x + travelX * u, y + travelY * v};
            std::uint8_t coverage = 255;
            if (place.Inside(right, bottom)) {
                Read(place, out);
            } else if (job.extendEdges) {
                Read(PullInside(place, x, y, right, bottom), out);
            } else {
                coverage = ReadBorder(place, x, y, out);
            }
            if (covered) covered[column] = coverage;
        }
    }

  private:
    void Read(const Place& place, Value* out) const {
        StoreClamped(SamplePixel<Form>(job.source, place.sx, place.sy), out);
    }

    // A place off the image, without extended edges. Answers the coverage.
    std::uint8_t ReadBorder(const Place& place, float x, float y, Value* out) {
        if (place.Off(static_cast<float>(job.source.width),
                      static_cast<float>(job.source.height))) {
            for (int c = 0; c < kChannels; ++c) out[c] = 0;
            return 0;
        }
        Fade(place, job.source, edgeWeight);
        Read(PullInside(place, x, y, right, bottom), out);
        for (int c = 0; c < kChannels; ++c) {
            out[c] = RoundInside<Value>(static_cast<float>(out[c]) * edgeWeight);
        }
        return FadedCoverage(edgeWeight);
    }

    const WarpJob& job;
    const float right = static_cast<float>(job.source.lastColumn);
    const float bottom = static_cast<float>(job.source.lastRow);
    float flowScaleX;
    float flowScaleY;
    float travelX;
    float travelY;
    float edgeWeight = 1.0f;
};

bool Fits(const WarpJob& job) {
    const ZPImage& source = job.source;
    if (job.destination.width != source.width || job.destination.height != source.height ||
        job.destination.pixelType != source.pixelType ||
        job.destination.channels != source.channels || source.channels > 4) {
        return false;
    }
    if (job.flow.pixelType != ZPPixFloat || job.flow.channels != 2) return false;
    if (source.width < 2 || source.height < 2 || job.flow.width < 2 || job.flow.height < 2) {
        return false;
    }
    const ZPImage* coverage = job.coverage;
    return !coverage || (coverage->width == source.width && coverage->height == source.height &&
                         coverage->channels == 1 && coverage->pixelType == ZPPixUChar);
}

bool IsIdentity(const WarpJob& job) {
    const float flowScaleX =
        static_cast<float>(job.flow.lastColumn) / static_cast<float>(job.source.lastColumn);
    return std::fabs(job.amount) < 0.005f || std::fabs(job.amount / flowScaleX) < 0.0001f;
}

}  // namespace

void ZPClipToImage(float& sx, float& sy, float x, float y, float lastColumn, float lastRow) {
    for (;;) {
        if (sx < 0.0f) {
            sy = y - (x / (x - sx)) * (y - sy);
            sx = 0.0f;
        } else if (sx > lastColumn) {
            sy = y - ((x - lastColumn) / (x - sx)) * (y - sy);
            sx = lastColumn;
        } else if (sy < 0.0f) {
            sx = x - (y / (y - sy)) * (x - sx);
            sy = 0.0f;
        } else if (sy > lastRow) {
            sx = x - ((y - lastRow) / (y - sy)) * (x - sx);
            sy = lastRow;
        } else {
            return;
        }
    }
}

int ZPInverseWarp(ZPImage& destination, const ZPImage& source, const ZPImage& flow, int extendEdges,
                  ZPImage* coverageOut, int /*mipMode*/, float amount) {
    const WarpJob job{destination, source, flow, coverageOut, extendEdges == 1, amount};
    if (!Fits(job)) {
        std::fputs("can't warp image, input files not of correct types and sizes\n", stderr);
        return 0;
    }
    const bool identity = IsIdentity(job);
    if (coverageOut && (identity || job.extendEdges)) {
        FillColor(*coverageOut, 1.0f, 1.0f, 1.0f, 1.0f);
    }
    if (identity) {
        CopyExact(&destination, &source);
        return 1;
    }
    WithPictureForm(source, [&](auto form) {
        ParallelRows(source.height, [&](int firstRow, int lastRow) {
            StripWarp<decltype(form)> strip(job);
            for (int y = firstRow; y <= lastRow; ++y) strip.Row(y);
        });
    });
    return 1;
}

}  // namespace velorin
