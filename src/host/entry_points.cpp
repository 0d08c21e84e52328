#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "host/frame_request.h"
#include "host/panel.h"
#include "host/spark_plugin.h"
#include "image/parallel.h"

namespace velorin {

MyVelorin* gVelorin = nullptr;
spark_membuf_struct gResultBuffer{};
spark_membuf_struct gTempBuffer{};
std::int32_t gCombineArg = 0;

namespace {

constexpr float kLeastVersion = 4.0f;
constexpr int kInputClips = 3;

constexpr int kResultBufferId = 1;
constexpr int kFrontBufferId = 2;
constexpr int kBackBufferId = 3;
constexpr int kMatteBufferId = 4;

int gTempBufferId = 6;
spark_membuf_struct gFrontBuffer{};
spark_membuf_struct gBackBuffer{};
spark_membuf_struct gMatteBuffer{};
std::uint32_t gNextFrame = 0;  // of a run that is not interactive

struct HostBuffer {
    int id;
    spark_membuf_struct& buffer;
    const char* missing;
    const char* unlocked;
};

bool FetchBuffers() {
    const HostBuffer buffers[] = {
        {kResultBufferId, gResultBuffer, "Error: Can't get result clip buffer\n",
         "Error: result clip buffer not locked\n"},
        {kFrontBufferId, gFrontBuffer, "Error: Can't get front clip buffer\n",
         "Error: front clip buffer not locked\n"},
        {kBackBufferId, gBackBuffer, "Error: Can't get back clip buffer\n",
         "Error: back clip buffer not locked\n"},
        {kMatteBufferId, gMatteBuffer, "Error: Can't get matte clip buffer\n",
         "Error: matte clip buffer not locked\n"},
        {gTempBufferId, gTempBuffer, "Error: Can't get tmp clip buffer\n",
         "Error: tmp1 clip buffer not locked\n"},
    };
    for (const HostBuffer& wanted : buffers) {
        if (sparkMemGetBuffer(wanted.id, &wanted.buffer) != 0) continue;
        std::fputs(wanted.missing, stdout);
        return false;
    }
    for (const HostBuffer& wanted : buffers) {
        if (wanted.buffer.BufferState & kSparkBufferLocked) continue;
        std::fputs(wanted.unlocked, stdout);
        return false;
    }
    return true;
}

// A pointer as the messages below print it.
int LowBits(const void* pointer) {
    return static_cast<int>(reinterpret_cast<std::uintptr_t>(pointer));
}

// The host hands over memory for each clip, also where none is connected.
bool HavePixels() {
    if (!gResultBuffer.Buffer || !gFrontBuffer.Buffer) {
        std::fprintf(stderr, "Error: null buffer pointer result(%d) front(%d)\n",
                     LowBits(gResultBuffer.Buffer), LowBits(gFrontBuffer.Buffer));
    } else if (!gBackBuffer.Buffer) {
        std::fprintf(stderr, "Error: null buffer pointer back(%d)\n", 0);
    } else if (!gMatteBuffer.Buffer) {
        std::fprintf(stderr, "Error: null buffer pointer matte(%d)\n", 0);
    } else if (!gTempBuffer.Buffer) {
        std::fprintf(stderr, "Error: null buffer pointer tmp1(%d)\n", 0);
    } else {
        return true;
    }
    return false;
}

void TakePanelValues(FrameValues& values) {
    values.interpMethod = SparkPup27.Value;
    values.vectorQuality = SparkPup28.Value;
    values.compensate = SparkFloat42.Value;
    values.inputFields = SparkPup16.Value;
    values.outputFields = SparkPup17.Value;
    values.useFGMatte = SparkBoolean36.Value;
    values.fgMatteChannel = SparkPup43.Value;
    values.fgMotionSensitivity = SparkFloat44.Value;
    values.fgInvMatteShrink = SparkFloat45.Value;
    values.useAltMotion = SparkBoolean18.Value != 0 ? 1 : 0;
    values.cacheResults = SparkBoolean19.Value;
    values.motionSensitivity = SparkFloat26.Value;
}

// What differs where the panel is not asked.
struct FixedValues {
    int vectorQuality;
    float compensate;
    int useFGMatte;
    int useAltMotion;
};
constexpr FixedValues kBatchValues = {1, 1.0f, 1, 1};
constexpr FixedValues kOtherValues = {4, 0.0f, 0, 0};

void TakeFixedValues(const FixedValues& fixed, FrameValues& values) {
    values.vectorQuality = fixed.vectorQuality;
    values.compensate = fixed.compensate;
    values.useFGMatte = fixed.useFGMatte;
    values.useAltMotion = fixed.useAltMotion;
}

FrameValues ValuesOf(const spark_info_struct& info) {
    FrameValues values;
    values.info = &info;
    values.width = gResultBuffer.BufferWidth;
    values.height = gResultBuffer.BufferHeight;
    values.depth = gResultBuffer.BufferDepth;
    values.frame = static_cast<int>(info.frameNumber);
    if (info.mode == kSparkInteractive) {
        TakePanelValues(values);
    } else if (info.mode == kSparkBatch) {
        values.frame = static_cast<int>(gNextFrame++);  // whatever frame the host names
        TakeFixedValues(kBatchValues, values);
    } else {
        TakeFixedValues(kOtherValues, values);
    }
    return values;
}

// Calls of SparkProcess that a request of a run takes. Where the output is longer than the clip,
// its last request brings the rest, none where both are equal; where it is shorter, its last one
// brings all.
int CallsOfBatch(const spark_info_struct& info) {
    const std::int64_t clipLength = info.clipLength;
    // Equal up to 24 bits, rounded beyond.
    const auto outputLength = static_cast<std::int64_t>(static_cast<float>(info.clipLength));
    if (outputLength < clipLength) {
        gNextFrame = 0;
        return info.frameNumber >= clipLength - 1 ? static_cast<int>(outputLength) : 0;
    }
    gNextFrame = info.frameNumber;
    if (info.frameNumber != clipLength - 1) return 1;
    return static_cast<int>(outputLength - clipLength + 1);
}

// Marks the setup that is about to be saved by four characters of its name, if that is a long one.
void GetId(const spark_info_struct& info) {
    std::int32_t id = 210;
    const char* end = std::find(info.setupName, info.setupName + kSparkSetupNameBytes, '\0');
    if (end - info.setupName > 28) std::memcpy(&id, end - 27, sizeof id);
    SparkInt8.Value = id;
}

}  // namespace

}  // namespace velorin

extern "C" {

std::int32_t Width = 0;
std::int32_t Height = 0;
void* _Cache1 = nullptr;
void* _Cache2 = nullptr;

int SparkInitialise(spark_info_struct info) {
    if (sparkAPIVersionInfo() < velorin::kLeastVersion) {
        sparkError("The version doesn't support this plug-in");
    }
    sparkLoadSetup(info);
    velorin::setMaskControls();
    velorin::setFrameSpeed();
    velorin::setSourceTimeControls();
    sparkDisableParameter(velorin::kPage, velorin::kBurnIdControl);
    delete velorin::gVelorin;
    try {
        velorin::gVelorin = new velorin::MyVelorin;
    } catch (...) {  // each frame fails, as it does before this call
        velorin::gVelorin = nullptr;
    }
    return 2;
}

void SparkUnInitialise(spark_info_struct info) {
    velorin::GetId(info);
    sparkSaveSetup(info);
    delete velorin::gVelorin;
    velorin::gVelorin = nullptr;
}

void SparkMemoryTempBuffers() {
    velorin::gTempBufferId = sparkMemRegisterBuffer();
}

int SparkClips() {
    return velorin::kInputClips;
}

int SparkProcessStart(spark_info_struct info) {
    if (info.clipLength == 0) {
        std::puts("SparkProcessStart: Error total clip length <= 0");
        return 1;
    }
    if (info.mode == kSparkInteractive) return 1;
    return info.mode == kSparkBatch ? velorin::CallsOfBatch(info) : 3;
}

int SparkIsInputFormatSupported(int format) {
    int type = 0;
    return velorin::PixelTypeOfSparkFormat(format, type) ? 1 : 0;
}

void* SparkProcess(spark_info_struct info) {
    velorin::SetThreadCount(info.threadFlag);
    sparkCursorBusy();
    if (!velorin::FetchBuffers() || !velorin::HavePixels()) return nullptr;
    velorin::gCombineArg = 0;
    const velorin::FrameValues values = velorin::ValuesOf(info);
    if (SparkPup13.Value == velorin::TimeMenuSource) {
        sparkGetFrame(velorin::SparkClipFront, values.frame, velorin::gFrontBuffer.Buffer);
        sparkCopyBuffer(velorin::gFrontBuffer.Buffer, velorin::gResultBuffer.Buffer);
        return velorin::gResultBuffer.Buffer;
    }
    Width = velorin::gResultBuffer.BufferWidth;
    Height = velorin::gResultBuffer.BufferHeight;
    velorin::MyGetVelorinedFrame(values);
    return velorin::gResultBuffer.Buffer;
}
}
