#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "cli/options.h"
#include "cli/run_log.h"
#include "image/progress.h"

namespace velorin {

// How far a run is.
struct ProgressState {
    std::int64_t done = 0;   // whole frames
    std::int64_t total = 0;  // frames of the run; 0 where nobody knows
    double part = 0.0;       // of the frame in hand, 0.0 to 1.0
    double seconds = 0.0;    // since the start
};

// The state as one line, without its end. `columns` is the terminal's width.
std::string BarText(const ProgressState& state, int columns);
std::string PlainText(const ProgressState& state);
// One JSON object; `frame` is the output frame that was finished last.
std::string JsonText(const ProgressState& state, std::int64_t frame);
// `text` as a JSON string, quotes included. A byte that is no UTF-8, as names of files may hold,
// becomes the replacement character.
std::string JsonString(const std::string& text);

// Tells the user on the error stream how far the run is, in the style that he chose, and listens
// to his wish to stop at once.
class ProgressLine final : public KQIdleAndProgressClass {
  public:
    // The log, which may be null, hears everything, however quiet the user wants it; it outlives
    // this.
    ProgressLine(ProgressStyle wanted, bool isQuiet, RunLog* newLog = nullptr);
    ~ProgressLine();

    void Start(std::int64_t frames);
    // The engine's report on the frame in hand. Throws ZPErrInterrupted after a second SIGINT.
    void ReportProgress(float fraction) override;
    void FrameDone(std::int64_t frame);
    // An output frame is left out, and why: said even when quiet.
    void FrameFailed(std::int64_t frame, const std::string& why);
    // The line at the end of a whole run.
    void Finish();
    // The run ends before its end with that code.
    void Stopped(int code, const std::string& text);
    // Says something beside the progress, unless quiet.
    void Note(const std::string& text);

  private:
    enum class Style { kNone, kBar, kPlain, kJson };
    using Clock = std::chrono::steady_clock;

    static Style StyleFor(ProgressStyle wanted, bool isQuiet);
    void Show();
    void ClearBar();
    void Tell(const std::string& event, const std::string& text);
    void Log(const std::string& text);

    const Style style;
    const bool quiet;
    RunLog* const log;
    bool barShown = false;
    ProgressState state;
    Clock::time_point started = Clock::now();
    Clock::time_point lastShown = started;
};

}  // namespace velorin
