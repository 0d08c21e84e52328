#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "spark_host/host_pixels.h"
#include "spark_host/spark_host.h"
#include "support/memory_host.h"
#include "support/stderr_text.h"

namespace velorin {

inline constexpr int kClipFrames = 8;
inline constexpr std::byte kUntouched{0x55};

// The sanitizers take memory of their own and keep what was set free.
#ifdef VELORIN_SANITIZED
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

inline int PixelTypeOfFormat(int format) {
    return format == 49 ? ZPPixFloat : format == 48 || format == 64 ? ZPPixUShort : ZPPixUChar;
}

inline SparkFrames FramesOf(int format, int width = 48, int height = 40, int threads = 1) {
    return {width, height, format, kClipFrames, threads};
}

// The built plug-in, loaded by a host whose clips are waves that move: those of the back clip the
// other way, and the matte clip's too.
class PluginSession {
  public:
    explicit PluginSession(const SparkFrames& frames) {
        host.session.serve = [this](int clip, int frame, std::byte* pixels) {
            if (frame == failingFrame) return false;
            const SparkFrames& shape = host.session.frames;
            const int shown = std::clamp(frame, 0, kClipFrames - 1);
            const float shift = static_cast<float>(clip == 0 ? shown : -shown);
            const auto picture = DrawTexture(shape.width, shape.height,
                                             PixelTypeOfFormat(shape.format), 2.5f * shift, shift);
            PackHostFrame(static_cast<const std::byte*>(picture->data), shape.width, shape.height,
                          shape.format, pixels);
            return true;
        };
        host.session.log = [this](const std::string& line) { Record(line); };
        host.session.tell = [this](const std::string& text) { told += text + "\n"; };
        host.SetFrames(frames);
    }

    void Set(const std::string& name, double value) {
        const SparkControl* control = host.Panel().Find(name);
        ASSERT_NE(control, nullptr) << name;
        control->SetValue(value);
    }
    bool Edit(const std::string& name, int frame, int code = kSparkControlChanged) {
        return host.Edit(*host.Panel().Find(name), frame, code);
    }

    // The result of a frame, whose buffer held something else before.
    std::vector<std::byte> Render(int frame) {
        std::vector<std::byte>& result = host.session.buffers.at(kSparkResult);
        std::fill(result.begin(), result.end(), kUntouched);
        for (int calls = host.Start(frame); calls > 0; --calls) {
            EXPECT_TRUE(host.Process(frame));
        }
        return result;
    }

    int CallsOf(const std::string& call) const {
        const auto found = counts.find(call);
        return found == counts.end() ? 0 : found->second;
    }
    // Calls of that name while work() runs.
    template <typename Work>
    int CallsDuring(const std::string& call, Work&& work) {
        const int before = CallsOf(call);
        work();
        return CallsOf(call) - before;
    }

    // The clip and frame of each fetch while work() runs, which begins a new log.
    template <typename Work>
    std::string FetchesDuring(Work&& work) {
        log.clear();
        fetches.clear();
        work();
        return fetches;
    }

    // Begins a paragraph of the log.
    void Heading(const std::string& text) {
        log += "\n\n" + text + ":";
        lastName.clear();
    }

    std::string log;   // a line a call; calls that repeat a name add to its line
    std::string told;  // to the user
    int failingFrame = -1000;

  private:
    void Record(const std::string& line) {
        const std::string name = line.substr(0, line.find(' '));
        ++counts[name];
        if (name == "sparkGetFrame") fetches += line.substr(name.size());
        log += name == lastName ? "," + line.substr(name.size()) : "\n" + line;
        lastName = name;
    }

    std::map<std::string, int> counts;
    std::string fetches;
    std::string lastName;

  public:
    SparkHost host{VELORIN_PLUGIN};  // its end calls what stands above
};

inline bool IsBlack(const std::vector<std::byte>& frame) {
    return std::all_of(frame.begin(), frame.end(), [](std::byte b) { return b == std::byte{0}; });
}

}  // namespace velorin
