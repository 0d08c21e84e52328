// The host's calls, which the plug-in finds in the program that loads it. sparkMpFork and
// sparkMpInfo are those of standalone/thread_pool.h.

#include <cstring>

#include "host/spark_api.h"
#include "spark_host/host_pixels.h"
#include "spark_host/spark_session.h"

namespace velorin {

SparkSession* gSparkSession = nullptr;

std::size_t SparkFrames::Bytes() const {
    return static_cast<std::size_t>(width) * height * HostPixelBytes(format);
}

float SparkSession::CurveAt(int control, float frame) const {
    const auto curve = curves.find(control);
    if (curve != curves.end()) {
        if (const std::optional<float> value = curve->second.At(frame)) return *value;
    }
    const SparkControl* found = panel->FindValue(control);
    return found ? static_cast<float>(found->Value()) : 0.0f;
}

namespace {

constexpr int kFailed = 1;

// Runs work() and keeps what it throws: the plug-in takes no exception. False when it threw.
template <typename Work>
bool Guarded(Work&& work) {
    try {
        work();
        return true;
    } catch (...) {
        gSparkSession->failure = std::current_exception();
        return false;
    }
}

void Tell(const char* call, const char* message) {
    gSparkSession->Log(call, message);
    if (gSparkSession->tell) Guarded([&] { gSparkSession->tell(message); });
}

void Grey(bool available, int page, int control) {
    gSparkSession->Log(available ? "sparkEnableParameter" : "sparkDisableParameter", page, control);
    if (available) {
        gSparkSession->greyed.erase(control);
    } else {
        gSparkSession->greyed.insert(control);
    }
}

}  // namespace

}  // namespace velorin

extern "C" {

using velorin::gSparkSession;

float sparkAPIVersionInfo() {
    gSparkSession->Log("sparkAPIVersionInfo");
    return gSparkSession->conditions.version;
}

void sparkError(const char* message) {
    velorin::Tell("sparkError", message);
}

void sparkMessage(const char* message) {
    velorin::Tell("sparkMessage", message);
}

void sparkLoadSetup(spark_info_struct info) {
    velorin::SparkSession& session = *gSparkSession;
    session.Log("sparkLoadSetup", info.setupName);
    if (session.setupIn.empty()) return;
    velorin::Guarded([&] {
        for (const auto& setting : velorin::ReadSetup(session.setupIn, *session.panel)) {
            setting.Apply(session.curves);
        }
    });
}

void sparkSaveSetup(spark_info_struct info) {
    velorin::SparkSession& session = *gSparkSession;
    session.Log("sparkSaveSetup", info.setupName);
    if (session.setupOut.empty()) return;
    velorin::Guarded(
        [&] { velorin::WriteSetup(session.setupOut, *session.panel, session.curves); });
}

void sparkCursorBusy() {
    gSparkSession->Log("sparkCursorBusy");
}

int sparkCallingEnv() {
    gSparkSession->Log("sparkCallingEnv");
    return gSparkSession->conditions.environment;
}

const char* sparkProgramGetName() {
    gSparkSession->Log("sparkProgramGetName");
    return gSparkSession->conditions.program.c_str();
}

int sparkMemRegisterBuffer() {
    velorin::SparkSession& session = *gSparkSession;
    session.Log("sparkMemRegisterBuffer");
    const int id = velorin::kSparkScratch + session.scratchBuffers++;
    session.buffers[id].resize(session.frames.Bytes());
    return id;
}

int sparkMemGetBuffer(int id, spark_membuf_struct* buffer) {
    velorin::SparkSession& session = *gSparkSession;
    session.Log("sparkMemGetBuffer", id);
    const auto found = session.buffers.find(id);
    if (found == session.buffers.end() || session.conditions.missing.contains(id)) return 0;
    *buffer = {};
    if (!session.conditions.null.contains(id)) buffer->Buffer = found->second.data();
    if (!session.conditions.unlocked.contains(id)) buffer->BufferState = kSparkBufferLocked;
    buffer->BufferWidth = session.frames.width;
    buffer->BufferHeight = session.frames.height;
    buffer->BufferDepth = session.frames.format;
    return 1;
}

int sparkGetFrame(int clip, int frame, void* destination) {
    gSparkSession->Log("sparkGetFrame", clip, frame);
    bool served = false;
    velorin::Guarded(
        [&] { served = gSparkSession->serve(clip, frame, static_cast<std::byte*>(destination)); });
    return served ? 0 : velorin::kFailed;
}

void sparkCopyBuffer(const void* source, void* destination) {
    gSparkSession->Log("sparkCopyBuffer");
    std::memcpy(destination, source, gSparkSession->frames.Bytes());
}

void sparkEnableParameter(int page, int control) {
    velorin::Grey(true, page, control);
}

void sparkDisableParameter(int page, int control) {
    velorin::Grey(false, page, control);
}

void sparkControlUpdate(int control) {
    gSparkSession->Log("sparkControlUpdate", control);
}

void sparkViewingDraw() {
    gSparkSession->Log("sparkViewingDraw");
}

float sparkGetCurveValue(int page, int control, int frame) {
    gSparkSession->Log("sparkGetCurveValue", page, control, frame);
    return gSparkSession->CurveAt(control, static_cast<float>(frame));
}

float sparkGetCurveValuef(int page, int control, float frame) {
    gSparkSession->Log("sparkGetCurveValuef", page, control, frame);
    return gSparkSession->CurveAt(control, frame);
}

void sparkSetCurveKeyf(int page, int control, float frame, float value) {
    gSparkSession->Log("sparkSetCurveKeyf", page, control, frame, value);
    gSparkSession->curves[control].SetKey(frame, value);
}

void sparkChClear(int page, int control) {
    gSparkSession->Log("sparkChClear", page, control);
    gSparkSession->curves.erase(control);
}
}
