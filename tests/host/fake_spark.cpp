#include "host/fake_spark.h"

#include <cstdlib>
#include <new>
#include <sstream>
#include <thread>

namespace velorin {

namespace {

FakeSpark gFake;
thread_local long long gShare = 0;

template <typename... Words>
void Log(const char* name, const Words&... words) {
    std::ostringstream line;
    line << name;
    ((line << ' ' << words), ...);
    gFake.calls.push_back(line.str());
}

long long SharePixels() {
    return static_cast<long long>(Width) * Height / gFake.threads;
}

void* TakeArray(std::size_t bytes) {
    if (gFake.failingArray > 0 && --gFake.failingArray == 0) return nullptr;
    return std::malloc(bytes);
}

}  // namespace

int FakeSpark::CallsOf(const std::string& start) const {
    int count = 0;
    for (const std::string& call : calls) count += call.starts_with(start) ? 1 : 0;
    return count;
}

FakeSpark& UseFakeSpark() {
    return gFake = FakeSpark();
}

}  // namespace velorin

// The blocks of images come from arrays without exceptions; they alone can be made to fail.
void* operator new[](std::size_t bytes) {
    if (void* pointer = std::malloc(bytes)) return pointer;
    throw std::bad_alloc();
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return velorin::TakeArray(bytes);
}
void operator delete[](void* pointer) noexcept {
    std::free(pointer);
}
void operator delete[](void* pointer, std::size_t) noexcept {
    std::free(pointer);
}

extern "C" {

using velorin::gFake;
using velorin::Log;

float sparkAPIVersionInfo() {
    return 4.0f;
}
void sparkError(const char* message) {
    Log("sparkError", message);
}
void sparkMessage(const char* message) {
    Log("sparkMessage", message);
}
void sparkLoadSetup(spark_info_struct) {
    Log("sparkLoadSetup");
}
void sparkSaveSetup(spark_info_struct) {
    Log("sparkSaveSetup");
}
void sparkCursorBusy() {
    Log("sparkCursorBusy");
}
int sparkCallingEnv() {
    return gFake.environment;
}
const char* sparkProgramGetName() {
    return gFake.program.c_str();
}
int sparkMemRegisterBuffer() {
    return 7;
}
int sparkMemGetBuffer(int id, spark_membuf_struct* buffer) {
    const auto found = gFake.buffers.find(id);
    if (found == gFake.buffers.end()) return 0;
    *buffer = found->second;
    return 1;
}
int sparkGetFrame(int clip, int frame, void* destination) {
    Log("sparkGetFrame", clip, frame);
    return gFake.frame(clip, frame, destination);
}
void sparkCopyBuffer(const void*, void*) {
    Log("sparkCopyBuffer");
}
void sparkEnableParameter(int page, int control) {
    Log("sparkEnableParameter", page, control);
}
void sparkDisableParameter(int page, int control) {
    Log("sparkDisableParameter", page, control);
}
void sparkControlUpdate(int control) {
    Log("sparkControlUpdate", control);
}
void sparkViewingDraw() {
    Log("sparkViewingDraw");
}
float sparkGetCurveValue(int, int control, int frame) {
    return gFake.curve(control, static_cast<float>(frame));
}
float sparkGetCurveValuef(int, int control, float frame) {
    return gFake.curve(control, frame);
}
void sparkSetCurveKeyf(int page, int control, float frame, float value) {
    Log("sparkSetCurveKeyf", page, control, frame, value);
}
void sparkChClear(int page, int control) {
    Log("sparkChClear", page, control);
}

void sparkMpFork(void (*worker)(void* argument), int, void* argument) {
    std::vector<std::jthread> threads;
    for (int share = 0; share < gFake.threads; ++share) {
        threads.emplace_back([=] {
            velorin::gShare = share;
            worker(argument);
        });
    }
}
// The last share has the pixels that are left over.
void sparkMpInfo(long long* firstPixel, long long* pixelCount) {
    const long long share = velorin::SharePixels();
    *firstPixel = velorin::gShare * share;
    const bool last = velorin::gShare == gFake.threads - 1;
    *pixelCount = last ? static_cast<long long>(Width) * Height - *firstPixel : share;
}
}
