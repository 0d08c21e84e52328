#include "spark_host/spark_host.h"

#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <type_traits>
#include <utility>

#include "image/parallel.h"
#include "spark_host/memory_limit.h"
#include "standalone/thread_pool.h"

namespace velorin {

namespace {

constexpr int kAnimated = 16;  // the flag of a control that shows its curve

void LogFork() {
    gSparkSession->Log("sparkMpFork");
}

}  // namespace

struct SparkHost::Library {
    // By its path: a bare name would be looked for where libraries are.
    explicit Library(const std::string& fileName)
        : handle(dlopen(std::filesystem::absolute(fileName).c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!handle) throw SparkHostError(fileName + ": is no plug-in: " + dlerror());
    }
    ~Library() { dlclose(handle); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void* Find(const std::string& word) const { return dlsym(handle, word.c_str()); }

    void* const handle;
};

struct SparkHost::EntryPoints {
    EntryPoints(const Library& library, const std::string& fileName) {
        const auto take = [&]<typename Entry>(Entry*& found, const char* word) {
            found = reinterpret_cast<Entry*>(library.Find(word));
            if (!found) {
                throw SparkHostError(fileName + ": is no plug-in of this kind: it has no " + word);
            }
        };
        take(initialise, "SparkInitialise");
        take(unInitialise, "SparkUnInitialise");
        take(registerBuffers, "SparkMemoryTempBuffers");
        take(clips, "SparkClips");
        take(processStart, "SparkProcessStart");
        take(isFormatSupported, "SparkIsInputFormatSupported");
        take(process, "SparkProcess");
    }

    decltype(::SparkInitialise)* initialise;
    decltype(::SparkUnInitialise)* unInitialise;
    decltype(::SparkMemoryTempBuffers)* registerBuffers;
    decltype(::SparkClips)* clips;
    decltype(::SparkProcessStart)* processStart;
    decltype(::SparkIsInputFormatSupported)* isFormatSupported;
    decltype(::SparkProcess)* process;
};

// Calls the plug-in with what its calls need, and throws what they kept.
template <typename Call>
auto SparkHost::Enter(const char* word, int frame, Call&& call) {
    session.Log(word, frame);
    ShowCurvesAt(frame);
    const auto answer = [&] {
        const PoolLoan loan(session.frames.width * session.frames.height, LogFork);
        const MemoryLimit limit(session.conditions.spareBytes);
        return call(InfoAt(frame));
    }();
    std::fflush(stdout);
    if (session.failure) std::rethrow_exception(std::exchange(session.failure, nullptr));
    return answer;
}

SparkHost::SparkHost(const std::string& fileName)
    : library(std::make_unique<Library>(fileName)),
      entry(std::make_unique<EntryPoints>(*library, fileName)),
      panel([this](const std::string& word) { return library->Find(word); }),
      name(std::filesystem::path(fileName).stem().string()) {
    if (gSparkSession) throw SparkHostError(fileName + ": another plug-in is loaded already");
    session.panel = &panel;
    gSparkSession = &session;
}

SparkHost::~SparkHost() {
    try {
        if (begun) End();
    } catch (const std::exception&) {
        // Who wants to know calls End.
    }
    library.reset();
    gSparkSession = nullptr;
}

std::string SparkHost::NameOf(SparkCallback callback) {
    Dl_info found{};
    if (!callback || !dladdr(reinterpret_cast<void*>(callback), &found)) return {};
    return found.dli_sname ? found.dli_sname : "";
}

void SparkHost::SetFrames(const SparkFrames& frames) {
    session.frames = frames;
    UseThreads(frames.threads);
    for (const int id : {kSparkResult, kSparkFront, kSparkBack, kSparkMatte}) session.buffers[id];
    for (auto& [id, pixels] : session.buffers) pixels.assign(frames.Bytes(), std::byte{0});
}

bool SparkHost::Supports(int sparkFormat) {
    session.Log("SparkIsInputFormatSupported", sparkFormat);
    return entry->isFormatSupported(sparkFormat) != 0;
}

void SparkHost::Begin() {
    begun = true;
    Enter("SparkInitialise", 0, [&](const spark_info_struct& info) {
        const int answer = entry->initialise(info);
        session.Log("SparkClips");
        entry->clips();
        session.Log("SparkMemoryTempBuffers");
        entry->registerBuffers();
        return answer;
    });
}

void SparkHost::End() {
    begun = false;
    Enter("SparkUnInitialise", 0, [&](const spark_info_struct& info) {
        entry->unInitialise(info);
        return true;
    });
}

int SparkHost::Start(int frame) {
    return Enter("SparkProcessStart", frame,
                 [&](const spark_info_struct& info) { return entry->processStart(info); });
}

bool SparkHost::Process(int frame) {
    return Enter("SparkProcess", frame,
                 [&](const spark_info_struct& info) { return entry->process(info) != nullptr; });
}

bool SparkHost::Edit(const SparkControl& control, int frame, int code) {
    const SparkCallback callback = control.Callback();
    if (!callback) return false;
    return Enter(NameOf(callback).c_str(), frame,
                 [&](const spark_info_struct& info) { return callback(code, info) != nullptr; });
}

bool SparkHost::Edit(const SparkSetting& setting, int frame) {
    setting.Apply(session.curves);
    return Edit(*setting.control, frame);
}

spark_info_struct SparkHost::InfoAt(int frame) const {
    spark_info_struct info{};
    const std::string setup = session.setupIn.empty() ? name : session.setupIn;
    std::snprintf(info.setupName, sizeof info.setupName, "%s",
                  std::filesystem::path(setup).filename().c_str());
    info.frameBytes = static_cast<std::int32_t>(session.frames.Bytes());
    info.mode = static_cast<std::uint8_t>(session.frames.mode);
    info.frameNumber = static_cast<std::uint32_t>(frame);
    info.clipLength = static_cast<std::uint32_t>(session.frames.length);
    info.frameDepth = session.frames.format;
    info.threadFlag = static_cast<std::int8_t>(GetThreadCount());
    return info;
}

// A control whose curve has keys holds the value that the panel shows at the frame.
void SparkHost::ShowCurvesAt(int frame) {
    for (const SparkControl& control : panel.Controls()) {
        if (!(control.Flags() & kAnimated)) continue;
        control.SetValue(session.CurveAt(control.number, static_cast<float>(frame) + 1.0f));
    }
}

}  // namespace velorin
