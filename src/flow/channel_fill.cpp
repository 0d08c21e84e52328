#include "flow/channel_fill.h"

#include <algorithm>

#include "filter/gaussian_blur.h"
#include "flow/fill_level.h"
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
    for (int y = firstRow; y <= lastRow; ++y) {
        const Value* hole = holeMatte.Row<Value>(y);
        float* weight = weights.Row<float>(y);
        for (int x = 0; x < weights.width; ++x) weight[x] = hole[x] != 0 ? 0.0f : 1.0f;
    }
}

// Calls work(x) for every hole of a row.
template <typename Work>
void ForEachHole(const ZPImage& weights, const ZPImage& unknown, int y, const Work& work) {
    const std::uint8_t* marks = unknown.Row<std::uint8_t>(y);
    const float* weight = weights.Row<float>(y);
    for (int i = 0; i < unknown.width; ++i) {
        if (!marks[i]) continue;
        const int end = std::min((i + 1) * kMarkedColumns, weights.width);
        for (int x = i * kMarkedColumns; x < end; ++x) {
            if (weight[x] == 0.0f) work(x);
        }
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
    for (ImagePyramid* pyramid : {&unknownPyramid, &neededPyramid}) {
        (*pyramid)[levelCount] = std::make_unique<ZPImage>(CountMarks(w), h, 1, ZPPixUChar, 0);
    }
    ++levelCount;
}

void ZPSingleChannelFill::CheckPicture(const ZPImage& image) const {
    const bool picture = WithPictureType(image.pixelType, [](auto) {});
    if (!picture || SizeDiffers(&image, valuePyramid[0].get())) throw ZPErrBadArgument;
}

void ZPSingleChannelFill::LoadChannel(const ZPImage& image, int channel, const ZPImage& holeMatte) {
    LoadHoles(holeMatte);
    LoadValues(image, channel);
}

void ZPSingleChannelFill::LoadHoles(const ZPImage& holeMatte) {
    CheckPicture(holeMatte);
    if (holeMatte.channels != 1) throw ZPErrBadArgument;
    WithPictureType(holeMatte.pixelType, [&](auto zero) {
        ParallelRows(height, [&](int firstRow, int lastRow) {
            WeighRows<decltype(zero)>(*weightPyramid[0], holeMatte, firstRow, lastRow);
        });
    });
    for (int n = 1; n < levelCount; ++n) {
        ReduceLevel(*weightPyramid[n], *weightPyramid[n - 1], *scratchPyramid[n - 1]);
    }
    for (int n = 0; n < levelCount; ++n) MarkUnknown(*unknownPyramid[n], *weightPyramid[n]);
    // On the finest level only the holes themselves are asked for.
    CopyExact(neededPyramid[0].get(), unknownPyramid[0].get());
    for (int n = 1; n < levelCount; ++n) {
        MarkNeeded(*neededPyramid[n], *unknownPyramid[n - 1], *weightPyramid[n],
                   *weightPyramid[n - 1]);
    }
}

void ZPSingleChannelFill::LoadValues(const ZPImage& image, int channel) {
    CheckPicture(image);
    ZPImage& values = *valuePyramid[0];
    CopyCHannelIntoCHannel(values, 0, image, channel);
    ParallelRows(height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            float* value = values.Row<float>(y);
            ForEachHole(*weightPyramid[0], *unknownPyramid[0], y, [&](int x) { value[x] = 0.0f; });
        }
    });
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
    const GaussianKernel kernel(kBlurRadius);
    for (int n = startLevel; n >= 0; --n) {
        ZPImage& field = *flowPyramid[n];
        // What is known is imposed before the blur and, on the finest level, stays in the image.
        const ZPImage* coarser = n < startLevel ? flowPyramid[n + 1].get() : nullptr;
        FillLevel(
            field,
            {*valuePyramid[n], *weightPyramid[n], *unknownPyramid[n], *neededPyramid[n], coarser},
            kernel.Half());
        stage.Tick();
        donePixels += CountPixels(field);
        stage.ReportProgress(static_cast<float>(donePixels / totalPixels));
    }
}

void ZPSingleChannelFill::StoreChannel(ZPImage& image, int channel) const {
    CheckPicture(image);
    const int step = image.channels;
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        ParallelRows(height, [&](int firstRow, int lastRow) {
            for (int y = firstRow; y <= lastRow; ++y) {
                const float* in = flowPyramid[0]->Row<float>(y);
                Value* out = image.Row<Value>(y) + channel;
                ForEachHole(*weightPyramid[0], *unknownPyramid[0], y,
                            [&](int x) { out[x * step] = RoundClamped<Value>(in[x]); });
            }
        });
    });
}

}  // namespace velorin
