#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "engine/kq_velorin.h"
#include "engine/kq_velorin_internal.h"
#include "image/copy.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

// A host over frames and mattes in memory: four channels (or three), numbered from 0, the ends
// repeated. Hands out private copies and counts what is checked out.
class MemoryHost : public KQVelorin4 {
  public:
    explicit MemoryHost(std::vector<std::unique_ptr<ZPImage>> newFrames)
        : frames(std::move(newFrames)) {
        internal = new KQVelorin4Internal;
    }

    // One request with the panel's defaults and `outputTime`; the result is in `result`.
    int Render(float outputTime) {
        const ZPImage& sample = *frames[0];
        result = std::make_unique<ZPImage>(sample.width, sample.height, 4, sample.pixelType,
                                           sample.bottomUp);
        KQImage handle;
        KQImageInternal image(*result);
        handle.WrapInternal(image);
        handle.Internal()->redIndex = redIndex;
        handle.Internal()->blueIndex = 2 - redIndex;
        KQImage second;
        std::vector<std::byte> block;
        if (outputFieldsAsked != 0) {
            block.resize(sample.RowPixelBytes() * sample.height);
            second.CreateInternal();
            second.InitRGBA(block.data(), sample.width, sample.height, sample.rowBytes, 1,
                            sample.pixelType);
        }
        return RenderFrame(&handle, block.empty() ? nullptr : &second, inputFieldsAsked,
                           outputFieldsAsked, quality, outputTime, outputTime + 1.0f, sourceRate,
                           outputRate, compensateAsked, sensitivity, method, 1, sameClip, keepFlows,
                           matteLayers, layerShrink, layerSensitivity, progress, imagesAreYCbCr);
    }

    int GetToBeWarpedSequenceImage(KQImage** out, int frame) override {
        asked.push_back(frame);
        return HandOutCopy(out, frames, 0, frame);
    }
    int GetTrackingSequenceImage(KQImage** out, int frame) override {
        tracked.push_back(frame);
        return HandOutCopy(out, trackingFrames.empty() ? frames : trackingFrames, 0, frame);
    }
    int CleanUpCheckedOutImage(KQImage* image) override {
        --held;
        copies.erase(image);
        return 0;
    }
    int GetMatteLayerSequenceImage(KQImage** out, int frame, int layer) override {
        mattesAsked.emplace_back(frame, layer);
        return HandOutCopy(out, mattes, layer * static_cast<int>(frames.size()), frame);
    }
    int CleanUpCheckedOutMatteImage(KQImage* image) override {
        return CleanUpCheckedOutImage(image);
    }
    int GetKeyframedTime(float* out, float outputTime) override {
        *out = timeMap(outputTime);
        return 0;
    }
    int WhichScene(float frame) override { return scene(static_cast<int>(frame)); }
    int GetDrawStartLayer() override { return drawStart; }
    int GetDrawEndLayer() override { return drawEnd; }
    int UsesWhichWarping() override { return warping; }
    int EnhanceImages() override { return enhance; }

    std::vector<std::unique_ptr<ZPImage>> frames;
    std::vector<std::unique_ptr<ZPImage>> trackingFrames;  // empty: those above
    // One channel; those of the frontmost layer first, as many for each layer as there are frames.
    std::vector<std::unique_ptr<ZPImage>> mattes;
    std::unique_ptr<ZPImage> result;

    std::function<float(float)> timeMap = [](float t) { return t; };
    std::function<int(int)> scene = [](int) { return 0; };
    int warping = 0;
    int enhance = 0;
    int quality = 4;
    int inputFieldsAsked = 0;
    int outputFieldsAsked = 0;
    float sourceRate = 29.97f;
    float outputRate = 29.97f;
    float compensateAsked = 0.0f;
    float sensitivity = 0.7f;
    std::int64_t method = 1;
    std::int64_t sameClip = 1;
    std::int64_t keepFlows = 1;
    int matteLayers = 0;
    const float* layerShrink = nullptr;
    const float* layerSensitivity = nullptr;
    int drawStart = 0;
    int drawEnd = 0;
    bool imagesAreYCbCr = false;
    KQIdleAndProgressClass* progress = nullptr;
    int redIndex = 0;          // 2: frames and result hold blue first
    int failingFrame = -1000;  // its check-out answers 1
    int held = 0;
    std::vector<int> asked;                        // frames checked out of the clip to be warped
    std::vector<int> tracked;                      // and of the tracking clip
    std::vector<std::pair<int, int>> mattesAsked;  // frame and layer

  private:
    struct Copy {
        std::unique_ptr<ZPImage> pixels;
        std::unique_ptr<KQImage> handle;
    };

    int HandOutCopy(KQImage** out, const std::vector<std::unique_ptr<ZPImage>>& images, int first,
                    int frame) {
        if (frame == failingFrame) return 1;
        const int last = static_cast<int>(frames.size()) - 1;
        const ZPImage& source = *images.at(first + std::clamp(frame, 0, last));
        Copy copy{std::make_unique<ZPImage>(source.width, source.height, source.channels,
                                            source.pixelType, source.bottomUp),
                  std::make_unique<KQImage>()};
        CopyExact(copy.pixels.get(), &source);
        copy.handle->CreateInternal();
        const int direction = source.bottomUp ? 0 : 1;
        if (source.channels == 1) {
            copy.handle->InitSingleChannel(copy.pixels->data, source.width, source.height,
                                           source.rowBytes, direction, source.pixelType);
        } else if (source.channels == 3) {
            copy.handle->InitThreeChannels(copy.pixels->data, source.width, source.height,
                                           source.rowBytes, direction, source.pixelType);
        } else {
            copy.handle->InitFourChannels(copy.pixels->data, source.width, source.height,
                                          source.rowBytes, direction, source.pixelType, 1, 1,
                                          redIndex, 1, 2 - redIndex, 3);
        }
        *out = copy.handle.get();
        copies[*out] = std::move(copy);
        ++held;
        return 0;
    }

    std::map<KQImage*, Copy> copies;
};

// A smooth texture of waves, its content moved by (shiftX, shiftY) pixels to higher columns and
// rows.
inline std::unique_ptr<ZPImage> DrawTexture(int width, int height, int pixelType, float shiftX,
                                            float shiftY, int bottomUp = 0) {
    auto image = std::make_unique<ZPImage>(width, height, 4, pixelType, bottomUp);
    WithPictureType(pixelType, [&](auto zero) {
        using Value = decltype(zero);
        const float white = image->whitePoint;
        for (int y = 0; y < height; ++y) {
            Value* pixel = image->Row<Value>(y);
            for (int x = 0; x < width; ++x, pixel += 4) {
                const float px = static_cast<float>(x) - shiftX;
                const float py = static_cast<float>(y) - shiftY;
                for (int c = 0; c < 3; ++c) {
                    const float k = static_cast<float>(c);
                    const float wave = std::sin(px * 0.31f + k) * std::cos(py * 0.23f - k) +
                                       std::sin(px * 0.083f + py * 0.11f + k);
                    pixel[c] = RoundClamped<Value>((0.5f + 0.22f * wave) * white);
                }
                pixel[3] = RoundClamped<Value>(white);
            }
        }
    });
    return image;
}

inline std::vector<std::unique_ptr<ZPImage>> DrawClip(int frames, int width, int height,
                                                      int pixelType, float shiftX = 2.5f,
                                                      float shiftY = -1.25f, int bottomUp = 0) {
    std::vector<std::unique_ptr<ZPImage>> clip;
    for (int i = 0; i < frames; ++i) {
        const float n = static_cast<float>(i);
        clip.push_back(DrawTexture(width, height, pixelType, n * shiftX, n * shiftY, bottomUp));
    }
    return clip;
}

}  // namespace velorin
