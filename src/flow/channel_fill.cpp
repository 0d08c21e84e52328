#include "flow/channel_fill.h"

#include <algorithm>

#include "filter/gaussian_blur.h"
#include "flow/scatter_levels.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

constexpr float kBlurRadius = 5.0f;

template <typename Value>
void WeighRows(ZPImage& weights, const ZPImage& holeMatte, int firstRow, int lastRow) {
    const int step = holeMatte.channels;
    for (int y = firstRow; y <= lastRow; ++y) {
        const Value* hole = holeMatte.Row<Value>(y);
        float* weight = weights.Row<float>(y);
        for (int x = 0; x < weights.width; ++x) weight[x] = hole[x * step] != 0 ? 0.0f : 1.0f;
    }
}

// A hole may hold anything, so it is replaced and not multiplied by its weight.
template <typename Value>
void TakeKnownRows(ZPImage& values, const ZPImage& weights, const ZPImage& image, int channel,
                   int firstRow, int lastRow) {
    const int step = image.channels;
    for (int y = firstRow; y <= lastRow; ++y) {
        const Value* in = image.Row<Value>(y) + channel;
        const float* weight = weights.Row<float>(y);
        float* value = values.Row<float>(y);
        for (int x = 0; x < values.width; ++x) {
            value[x] = weight[x] != 0.0f ? static_cast<float>(in[x * step]) : 0.0f;
        }
    }
}

template <typename Value>
void StoreRows(ZPImage& image, int channel, const ZPImage& field, int firstRow, int lastRow) {
    const int step = image.channels;
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* in = field.Row<float>(y);
        Value* out = image.Row<Value>(y) + channel;
        for (int x = 0; x < field.width; ++x) out[x * step] = RoundClamped<Value>(in[x]);
    }
}

double CountPixels(const ZPImage& image) {
    return static_cast<double>(image.width) * image.height;
}

}  // namespace

ZPSingleChannelFill::ZPSingleChannelFill(int newWidth, int newHeight)
    : width(newWidth), height(newHeight), maxX(newWidth - 1), maxY(newHeight - 1) {
    if (width < 2 || height < 2) throw ZPErrBadArgument;
    int w = width;
    int h = height;
    AddLevel(w, h);
    while (w > 2 || h > 2) {
        w = std::max(w / 2, 2);
        h = std::max(h / 2, 2);
        AddLevel(w, h);
    }
    AddLevel(2, 2);
}

ZPSingleChannelFill::~ZPSingleChannelFill() = default;

void ZPSingleChannelFill::AddLevel(int w, int h) {
    for (ImagePyramid* pyramid : {&flowPyramid, &valuePyramid, &weightPyramid, &scratchPyramid}) {
        (*pyramid)[levelCount] = std::make_unique<ZPImage>(w, h, 1, ZPPixFloat, 0);
    }
    ++levelCount;
}

void ZPSingleChannelFill::CheckSize(const ZPImage& image) const {
    if (SizeDiffers(&image, valuePyramid[0].get())) throw ZPErrBadArgument;
}

void ZPSingleChannelFill::LoadChannel(const ZPImage& image, int channel, const ZPImage& holeMatte) {
    LoadHoles(holeMatte);
    LoadValues(image, channel);
}

void ZPSingleChannelFill::LoadHoles(const ZPImage& holeMatte) {
    CheckSize(holeMatte);
    const bool known = WithPictureType(holeMatte.pixelType, [&](auto zero) {
        ParallelRows(height, [&](int firstRow, int lastRow) {
            WeighRows<decltype(zero)>(*weightPyramid[0], holeMatte, firstRow, lastRow);
        });
    });
    if (!known) throw ZPErrBadArgument;
    for (int n = 1; n < levelCount; ++n) {
        ReduceLevel(*weightPyramid[n], *weightPyramid[n - 1], *scratchPyramid[n - 1]);
    }
}

void ZPSingleChannelFill::LoadValues(const ZPImage& image, int channel) {
    CheckSize(image);
    const bool known = WithPictureType(image.pixelType, [&](auto zero) {
        ParallelRows(height, [&](int firstRow, int lastRow) {
            TakeKnownRows<decltype(zero)>(*valuePyramid[0], *weightPyramid[0], image, channel,
                                          firstRow, lastRow);
        });
    });
    if (!known) throw ZPErrBadArgument;
    for (int n = 1; n < levelCount; ++n) {
        ReduceLevel(*valuePyramid[n], *valuePyramid[n - 1], *flowPyramid[n - 1]);
    }
}

void ZPSingleChannelFill::Fill(KQIdleAndProgressClass* progress) {
    KQIdleAndProgressClass stage(progress);
    iterationsPerLevel = 1;
    const int startLevel = levelCount - 2;
    double totalPixels = 0.0;
    for (int n = startLevel; n >= 0; --n) totalPixels += CountPixels(*flowPyramid[n]);
    double donePixels = 0.0;
    ClearImage(flowPyramid[startLevel].get());
    for (int n = startLevel; n >= 0; --n) {
        ZPImage& field = *flowPyramid[n];
        const auto impose = [&] { ImposeKnown(field, *valuePyramid[n], *weightPyramid[n]); };
        impose();
        for (int i = 0; i < iterationsPerLevel; ++i) {
            GaussianBlur(field, 0, kBlurRadius);
            stage.Tick();
        }
        if (n > 0) {
            ResampleLevel(*flowPyramid[n - 1], field);
        } else {
            impose();
        }
        donePixels += CountPixels(field);
        stage.ReportProgress(static_cast<float>(donePixels / totalPixels));
    }
}

void ZPSingleChannelFill::StoreChannel(ZPImage& image, int channel) const {
    CheckSize(image);
    const bool known = WithPictureType(image.pixelType, [&](auto zero) {
        ParallelRows(height, [&](int firstRow, int lastRow) {
            StoreRows<decltype(zero)>(image, channel, *flowPyramid[0], firstRow, lastRow);
        });
    });
    if (!known) throw ZPErrBadArgument;
}

}  // namespace velorin
