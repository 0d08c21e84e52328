#include "host/frame_request.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "engine/kq_velorin_internal.h"
#include "host/my_progress.h"
#include "host/panel.h"
#include "host/spark_plugin.h"
#include "image/arithmetic.h"

namespace velorin {

namespace {

constexpr float kNarrowToHostDepth = 4095.0f / 65535.0f;
constexpr float kHostWhite = 4095.0f;
constexpr std::int64_t kMostPixels = INT32_MAX;  // the host's threads share them as integers
constexpr int kFullDetail = 1;

struct AllocationMessages {
    const char* primary;
    const char* secondField;
};

int InterpMethodOf(int entry) {
    return entry == 1 || entry == 2 ? entry : 0;
}

int VectorQualityOf(int entry) {
    return entry >= 0 && entry <= 4 ? entry : 0;
}

// The menu has the lower field before the upper one, the engine after it.
int FieldsOf(int entry) {
    return entry == 1 ? 2 : entry == 2 ? 1 : 0;
}

AllocationMessages MessagesOf(int pixelType) {
    // On purpose not alike: of a second field's image in 12 bits the message says less.
    const bool twelveBits = pixelType == ZPPixUShort;
    return {"Cannot process image due to result image buffer allocation error",
            twelveBits ? "Cannot process image due to image buffer allocation error"
                       : "Cannot process image due to tmp image buffer allocation error"};
}

MyRequest RequestOf(const FrameValues& values, int layerCount) {
    MyRequest request;
    request.info = values.info;
    request.width = values.width;
    request.height = values.height;
    request.sparkFormat = values.depth;
    request.trackingClip = values.useAltMotion;
    request.matteChannel = values.fgMatteChannel;
    request.combineArg = gCombineArg;
    request.stretchMethod = SparkPup31.Value;
    request.constantSpeed = 1.0f;
    request.warpingMethod = SparkPup29.Value;
    request.imagePrep = SparkPup30.Value;
    request.timeMenu = SparkPup13.Value;
    request.layerCount = layerCount;
    request.tempBuffer = &gTempBuffer;
    return request;
}

// The pixels that the host's record tells of are unpacked into blocks made for its buffer's.
bool RecordFits(const FrameValues& values, int pixelType) {
    int recordType = 0;
    return PixelTypeOfSparkFormat(values.info->frameDepth, recordType) && recordType == pixelType &&
           std::int64_t{values.width} * values.height <= kMostPixels;
}

// Makes `image` a frame of four channels. False without memory, which the user is told.
bool Allocate(MyImage& image, const FrameValues& values, const char* message) {
    const int pixelBytes = BlockPixelBytes(values.depth, 4);
    auto block = NewBlock(values.width, values.height, pixelBytes);
    if (!block) {
        sparkMessage(message);
        return false;
    }
    const int failure = image.MyInit(block.get(), values.width, values.height, values.depth,
                                     values.width * pixelBytes, 4);
    if (image.block) block.release();
    return failure == ZPErrNone;
}

// In a format that is not known the images stay empty, and the engine refuses them.
bool AllocateImages(MyImage& primary, MyImage& secondField, const FrameValues& values) {
    int pixelType = 0;
    if (!PixelTypeOfSparkFormat(values.depth, pixelType)) return true;
    if (!RecordFits(values, pixelType)) return false;
    const AllocationMessages messages = MessagesOf(pixelType);
    if (!Allocate(primary, values, messages.primary)) return false;
    return FieldsOf(values.outputFields) == 0 ||
           Allocate(secondField, values, messages.secondField);
}

// On purpose never switched off: with the cache off, CleanCache before each frame does it.
void ApplyCache(MyVelorin& host, bool cache) {
    if (cache) {
        host.cacheOn = true;
        return;
    }
    if (host.internal) host.internal->ReleaseFlows();
    host.CleanCache();
}

int Render(MyImage& primary, MyImage& secondField, const FrameValues& values, bool cache,
           int layerCount) {
    std::array<float, kMaxLayers> sensitivity;
    sensitivity.fill(1.0f);
    std::array<float, kMaxLayers> shrink{};
    if (layerCount == 1) {
        sensitivity[0] = values.fgMotionSensitivity / 100.0f;
        shrink[0] = values.fgInvMatteShrink;
    }
    MyProgress progress(values.info);
    return gVelorin->RenderFrame(
        &primary, &secondField, FieldsOf(values.inputFields), FieldsOf(values.outputFields),
        VectorQualityOf(values.vectorQuality), static_cast<float>(values.frame),
        static_cast<float>(std::int64_t{values.frame} + 1), values.inputRate, values.outputRate,
        values.compensate, values.motionSensitivity / 100.0f, InterpMethodOf(values.interpMethod),
        kFullDetail, values.useAltMotion == 0 ? 1 : 0, cache ? 1 : 0, layerCount, shrink.data(),
        sensitivity.data(), &progress, false);
}

bool RenderIntoResult(const FrameValues& values) {
    MyImage primary, secondField;
    if (!gVelorin) return false;
    const bool mayCache = sparkCallingEnv() != kSparkEnvWithoutCache;
    const bool cache = mayCache && values.cacheResults == 1;
    const int layerCount = values.useFGMatte == 1 ? 1 : 0;
    const int initialised = gVelorin->MyInit(RequestOf(values, layerCount));
    ApplyCache(*gVelorin, cache);
    if (initialised != ZPErrNone) return false;
    if (!AllocateImages(primary, secondField, values)) return false;
    const int result = Render(primary, secondField, values, cache, layerCount);
    ScaleClamped(&primary, kNarrowToHostDepth, kHostWhite);
    if (result != ZPErrNone) return false;
    gVelorin->MySparkUnCombine4Buffers(gResultBuffer.Buffer, primary.block, gTempBuffer.Buffer);
    return true;
}

}  // namespace

int MyGetVelorinedFrame(const FrameValues& values) {
    try {
        if (RenderIntoResult(values)) return 1;
    } catch (...) {  // the host takes none
    }
    if (values.info->frameBytes > 0) {
        std::memset(gResultBuffer.Buffer, 0, values.info->frameBytes);
    }
    return 0;
}

}  // namespace velorin
