#include "host/my_velorin.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "engine/kq_velorin_internal.h"
#include "host/pack.h"
#include "image/arithmetic.h"

namespace velorin {

namespace {

// The host's largest value becomes white.
constexpr float kWidenHostDepth = 65535.0f / 4095.0f;

bool IsKnownClip(int clip) {
    return clip >= 0 && clip <= 3;
}

// An image with memory for the pixels. A single channel starts out black: a menu value that stands
// for no channel leaves it so.
std::unique_ptr<MyImage> NewImage(const MyRequest& request, int channels) {
    const int pixelBytes = BlockPixelBytes(request.sparkFormat, channels);
    auto block = NewBlock(request.width, request.height, pixelBytes);
    if (!block) return nullptr;
    const int rowBytes = request.width * pixelBytes;
    const auto bytes = static_cast<std::size_t>(rowBytes) * request.height;
    if (channels == 1) std::fill_n(block.get(), bytes, static_cast<unsigned char>(0));
    auto image = std::make_unique<MyImage>();
    image->MyInit(block.get(), request.width, request.height, request.sparkFormat, rowBytes,
                  channels);
    if (image->block) block.release();
    return image;
}

}  // namespace

int MyVelorin::MyInit(const MyRequest& newRequest) {
    if (!internal) {
        try {
            internal = new KQVelorin4Internal;
        } catch (ZPErr) {
            return ZPErrNoMemory;
        }
    }
    request = newRequest;
    return ZPErrNone;
}

int MyVelorin::GetImage(int clip, KQImage** out, int frame, int channels, int /*layer*/,
                        int matteChannel, int combineArg) {
    if (!out) return ZPErrBadArgument;
    const int sourceFrame = std::max(frame, 0);
    *out = nullptr;
    const bool known = BlockPixelBytes(request.sparkFormat, 1) != 0;
    if (!known || (channels != 1 && channels != 4)) return 1;
    auto owner = NewImage(request, channels);
    if (!owner || !owner->CheckValid(false)) return 1;
    MyImage* image = owner.get();
    const bool cached = clip == SparkClipFront && cacheOn;
    if (cached && cache.getCacheState(sourceFrame, request.width, request.height,
                                      request.sparkFormat, image->blockRowBytes, channels)) {
        *out = owner.release();
        cache.getCache(*image, sourceFrame);
        return ZPErrNone;
    }
    void* scratch = request.tempBuffer->Buffer;
    const int result =
        IsKnownClip(clip) ? sparkGetFrame(clip, sourceFrame, scratch) : ZPErrBadArgument;
    const std::int64_t bytes = std::int64_t{image->blockRowBytes} * request.height;
    if (channels == 4) {
        sparkCombine4Buffers(request.info, image->block, bytes, scratch, nullptr, combineArg);
    } else {
        sparkCombine1Buffers(request.info, image->block, bytes, scratch, matteChannel);
    }
    *out = owner.release();
    ScaleForHostDepth(image, kWidenHostDepth);
    // A frame that did not come is not kept: the next request would take it for the real one.
    if (cached && result == ZPErrNone) cache.setCache(*image, sourceFrame);
    return result;
}

// The engine takes a failure's image for none, so that it is released here.
int MyVelorin::HandOut(int clip, KQImage** out, int frame, int channels, int layer) {
    *out = nullptr;
    try {
        if (GetImage(clip, out, frame, channels, layer, request.matteChannel, request.combineArg) ==
            ZPErrNone) {
            return ZPErrNone;
        }
    } catch (...) {  // the engine raises an error of its own
    }
    delete *out;
    *out = nullptr;
    return 1;
}

int MyVelorin::GetToBeWarpedSequenceImage(KQImage** out, int frame) {
    return HandOut(SparkClipFront, out, frame, 4, 0);
}

int MyVelorin::GetTrackingSequenceImage(KQImage** out, int frame) {
    return HandOut(request.trackingClip, out, frame, 4, 0);
}

int MyVelorin::GetMatteLayerSequenceImage(KQImage** out, int frame, int layer) {
    return HandOut(SparkClipMatte, out, frame, 1, layer);
}

int MyVelorin::CleanUpCheckedOutImage(KQImage* image) {
    delete image;
    return ZPErrNone;
}

int MyVelorin::CleanUpCheckedOutMatteImage(KQImage* image) {
    return CleanUpCheckedOutImage(image);
}

int MyVelorin::GetKeyframedTime(float* out, float outputTime) {
    return MyGetKeyFramedTimeParameter(outputTime, out);
}

int MyVelorin::GetDrawStartLayer() {
    const bool background =
        request.timeMenu == TimeMenuOutput || request.timeMenu == TimeMenuBackground;
    return request.layerCount != 0 && background ? 1 : 0;
}

int MyVelorin::GetDrawEndLayer() {
    return request.layerCount != 0 && request.timeMenu == TimeMenuBackground ? 1 : 0;
}

int MyVelorin::UsesWhichWarping() {
    const int method = request.warpingMethod;
    return method >= 0 && method <= 2 ? method : 0;
}

int MyVelorin::EnhanceImages() {
    return request.imagePrep == 1 ? 1 : 0;
}

int MyVelorin::MySparkUnCombine4Buffers(void* colour, const void* block, void* alpha) {
    if (!request.info) return 0;
    const std::int64_t rowBytes =
        std::int64_t{request.width} * BlockPixelBytes(request.sparkFormat, 4);
    return sparkUnCombine4Buffers(request.info, colour, block, rowBytes * request.height, alpha);
}

}  // namespace velorin
