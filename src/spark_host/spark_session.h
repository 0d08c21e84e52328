#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "spark_host/spark_panel.h"
#include "spark_host/spark_setup.h"

namespace velorin {

// Numbers of the host's buffers. Those that the plug-in registers go on from the last.
enum SparkBufferId {
    kSparkResult = 1,
    kSparkFront = 2,
    kSparkBack = 3,
    kSparkMatte = 4,
    kSparkScratch = 11
};

// The frames that a session is about.
struct SparkFrames {
    int width = 0;
    int height = 0;
    int format = 24;  // 24 or 25: 8 bits; 48 or 64: 12 bits in 16; 49: half
    int length = 0;   // of the output clip
    int threads = 1;  // 1 to 64
    int mode = kSparkInteractive;

    // Of a frame; 0 in a format that is not known.
    std::size_t Bytes() const;
};

// What a host can be, and what can go wrong in it.
struct SparkConditions {
    float version = 4.0f;
    std::string program = "velorin";
    int environment = 0;
    std::set<int> missing, unlocked, null;  // buffers, by number
    // What a frame or a callback can take beyond the memory that the program has; large blocks
    // alone are sure to count.
    std::optional<std::size_t> spareBytes;
};

// All that the host's calls answer from. The calls know one session: the current one.
struct SparkSession {
    SparkFrames frames;
    SparkConditions conditions;

    // Writes a frame of clip 0 front, 1 back or 2 matte, in the host's layout: 3 channels, the
    // bottom line first. Any frame number is asked for, also past the clip's end. False when it
    // fails. What it throws ends the plug-in's work on that frame and goes on to the host's caller.
    std::function<bool(int clip, int frame, std::byte* pixels)> serve;
    // Is told of every call, in both directions; nobody where empty.
    std::function<void(const std::string& line)> log;
    // What the plug-in tells the user.
    std::function<void(const std::string& text)> tell;

    std::string setupIn;   // file that the setup is loaded from; empty for none
    std::string setupOut;  // file that it is saved to; empty for none

    const SparkPanel* panel = nullptr;
    SparkCurves curves;
    std::set<int> greyed;  // controls
    std::map<int, std::vector<std::byte>> buffers;
    int scratchBuffers = 0;      // registered so far
    std::exception_ptr failure;  // of a call, which hands no exception to the plug-in

    // The curve of a control with keys, or else the control's value.
    float CurveAt(int control, float frame) const;

    template <typename... Words>
    void Log(const char* call, const Words&... words) const {
        if (!log) return;
        std::ostringstream line;
        line << call;
        ((line << ' ' << words), ...);
        log(line.str());
    }
};

// The session that the calls below the plug-in answer from; null for none. Set by SparkHost.
extern SparkSession* gSparkSession;

}  // namespace velorin
