#pragma once

// The host's records and calls as this plug-in binds them. A host whose own header lays them out
// otherwise needs changes here and nowhere else: the assertions below say what the rest relies on.
// Assumed where nothing tells: the length of a setup's name, that records are handed over by value,
// and that sparkGetFrame answers 0 for success.

#include <cstddef>
#include <cstdint>

#include "image/host_threads.h"

// The host and the plug-in find each other's words by name, whatever else they hide.
#pragma GCC visibility push(default)

extern "C" {

// Bytes of the setup's name, its closing zero included. The one size that the records do not fix.
inline constexpr int kSparkSetupNameBytes = 256;

// What a call is about. Frames count from 0.
struct spark_info_struct {
    char setupName[kSparkSetupNameBytes];
    std::int32_t frameBytes;  // of one output frame
    std::uint8_t mode;        // one of the two below; any other renders with defaults of its own
    std::uint32_t frameNumber;
    std::uint32_t clipLength;  // of the output clip
    std::int32_t frameDepth;   // format code: 24, 25, 48, 49 or 64
    std::int8_t threadFlag;    // threads that sparkMpFork runs a worker on
};

inline constexpr int kSparkBatch = 0;
inline constexpr int kSparkInteractive = 1;

// A buffer of the host's: rows from the bottom line up, nothing between them, three channels.
struct spark_membuf_struct {
    void* Buffer;
    std::uint32_t BufferState;  // a set of flags
    std::int32_t BufferWidth;
    std::int32_t BufferHeight;
    std::int32_t BufferDepth;  // format code
};

inline constexpr std::uint32_t kSparkBufferLocked = 4;

// What sparkCallingEnv answers where intermediate images must not be kept.
inline constexpr int kSparkEnvWithoutCache = 2;

// Called when something happens to a control. Answers what SparkProcess did, or null.
inline constexpr int kSparkControlChanged = 1;
using SparkCallback = void* (*)(int code, spark_info_struct info);

// The records of the panel's controls. The host finds each under the name of its kind with the
// control's number behind it, such as SparkPush6.
struct SparkPush {
    const char* Title;
    SparkCallback Callback;  // null makes it a heading; null elsewhere: nobody is told
};

struct SparkBoolean {
    std::uint8_t Value;
    std::int32_t Flags;
    const char* Title;
    SparkCallback Callback;
};

struct SparkInt {
    std::int32_t Value, Min, Max, Increment;
    std::int32_t Flags;
    const char* Title;  // with the format of the value
    SparkCallback Callback;
};

struct SparkFloat {
    float Value, Min, Max, Increment;
    std::int32_t Flags;
    const char* Title;  // with the format of the value
    SparkCallback Callback;
};

inline constexpr int kSparkPupTitles = 20;

struct SparkPup {
    std::int32_t Value;  // the entry, from 0
    std::int32_t Count;
    SparkCallback Callback;
    const char* Titles[kSparkPupTitles];  // null behind the last entry
};

// What the host offers. Pages and controls count from 1, frames of curves too.

float sparkAPIVersionInfo();
void sparkError(const char* message);    // to the user; the plug-in goes on
void sparkMessage(const char* message);  // one line to the user
// Read the controls' values and curves from the setup that `info` names, or write them there.
void sparkLoadSetup(spark_info_struct info);
void sparkSaveSetup(spark_info_struct info);
void sparkCursorBusy();
int sparkCallingEnv();
const char* sparkProgramGetName();

int sparkMemRegisterBuffer();                                // the id of a new scratch buffer
int sparkMemGetBuffer(int id, spark_membuf_struct* buffer);  // non-zero on success
// Writes a frame of clip 0 front, 1 back or 2 matte to `destination`; 0 on success.
int sparkGetFrame(int clip, int frame, void* destination);
void sparkCopyBuffer(const void* source, void* destination);  // a whole frame

void sparkEnableParameter(int page, int control);   // un-greys it
void sparkDisableParameter(int page, int control);  // greys it
void sparkControlUpdate(int control);               // draws it with its value of now
void sparkViewingDraw();                            // draws the viewer with the last result

float sparkGetCurveValue(int page, int control, int frame);
float sparkGetCurveValuef(int page, int control, float frame);
void sparkSetCurveKeyf(int page, int control, float frame, float value);
void sparkChClear(int page, int control);  // removes all keys

// sparkMpFork and sparkMpInfo: image/host_threads.h.

// What the host finds in the plug-in, besides the controls and their callbacks.

int SparkInitialise(spark_info_struct info);
void SparkUnInitialise(spark_info_struct info);
void SparkMemoryTempBuffers();
int SparkClips();
int SparkProcessStart(spark_info_struct info);
int SparkIsInputFormatSupported(int format);
void* SparkProcess(spark_info_struct info);

// Size of the current result.
extern std::int32_t Width;
extern std::int32_t Height;

// Null for good.
extern void* _Cache1;
extern void* _Cache2;
}

#pragma GCC visibility pop

static_assert(offsetof(spark_info_struct, setupName) == 0);
static_assert(offsetof(spark_info_struct, frameBytes) == kSparkSetupNameBytes);
static_assert(offsetof(spark_info_struct, mode) == kSparkSetupNameBytes + 4);
static_assert(offsetof(spark_info_struct, frameNumber) == kSparkSetupNameBytes + 8);
static_assert(offsetof(spark_info_struct, clipLength) == kSparkSetupNameBytes + 12);
static_assert(offsetof(spark_info_struct, frameDepth) == kSparkSetupNameBytes + 16);
static_assert(offsetof(spark_info_struct, threadFlag) == kSparkSetupNameBytes + 20);
static_assert(sizeof(spark_info_struct) == kSparkSetupNameBytes + 24);

static_assert(offsetof(spark_membuf_struct, Buffer) == 0);
static_assert(offsetof(spark_membuf_struct, BufferState) == 8);
static_assert(offsetof(spark_membuf_struct, BufferWidth) == 12);
static_assert(offsetof(spark_membuf_struct, BufferHeight) == 16);
static_assert(offsetof(spark_membuf_struct, BufferDepth) == 20);
static_assert(sizeof(spark_membuf_struct) == 24);

static_assert(offsetof(SparkPush, Title) == 0);
static_assert(offsetof(SparkPush, Callback) == 8);

static_assert(offsetof(SparkBoolean, Value) == 0);
static_assert(offsetof(SparkBoolean, Flags) == 4);
static_assert(offsetof(SparkBoolean, Title) == 8);
static_assert(offsetof(SparkBoolean, Callback) == 16);

static_assert(offsetof(SparkInt, Value) == 0);
static_assert(offsetof(SparkInt, Min) == 4);
static_assert(offsetof(SparkInt, Max) == 8);
static_assert(offsetof(SparkInt, Increment) == 12);
static_assert(offsetof(SparkInt, Flags) == 16);
static_assert(offsetof(SparkInt, Title) == 24);
static_assert(offsetof(SparkInt, Callback) == 32);

static_assert(offsetof(SparkFloat, Value) == 0);
static_assert(offsetof(SparkFloat, Min) == 4);
static_assert(offsetof(SparkFloat, Max) == 8);
static_assert(offsetof(SparkFloat, Increment) == 12);
static_assert(offsetof(SparkFloat, Flags) == 16);
static_assert(offsetof(SparkFloat, Title) == 24);
static_assert(offsetof(SparkFloat, Callback) == 32);

static_assert(offsetof(SparkPup, Value) == 0);
static_assert(offsetof(SparkPup, Count) == 4);
static_assert(offsetof(SparkPup, Callback) == 8);
static_assert(offsetof(SparkPup, Titles) == 16);
static_assert(sizeof(SparkPup) == 16 + 8 * kSparkPupTitles);
