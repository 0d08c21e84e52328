#include "cli/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string_view>

#include "cli/stop_request.h"
#include "image/err.h"

namespace velorin {

namespace {

constexpr std::chrono::milliseconds kBarPause(100);
constexpr std::chrono::seconds kPlainPause(5);

template <typename... Values>
std::string Format(const char* format, Values... values) {
    char text[256];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

double Speed(const ProgressState& state) {
    const double done = static_cast<double>(state.done) + state.part;
    return state.seconds > 0.0 ? done / state.seconds : 0.0;
}

// Below 0 while nothing is known.
double SecondsLeft(const ProgressState& state) {
    const double speed = Speed(state);
    const double left = static_cast<double>(state.total - state.done) - state.part;
    return speed > 0.0 ? left / speed : -1.0;
}

std::string TimeText(double seconds) {
    if (seconds < 0.0) return "-:--";
    const auto whole = static_cast<long long>(seconds + 0.5);
    if (whole < 3600) return Format("%lld:%02lld", whole / 60, whole % 60);
    return Format("%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
}

int TerminalColumns() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

bool IsTerminal() {
    const char* kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) && kind && std::string_view(kind) != "dumb";
}

void Put(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

std::string BarText(const ProgressState& state, int columns) {
    if (state.total <= 0) return PlainText(state).substr(0, static_cast<std::size_t>(columns - 1));
    const std::string figures = Format(
        " %lld/%lld  %.2f frames/s  %s left", static_cast<long long>(state.done),
        static_cast<long long>(state.total), Speed(state), TimeText(SecondsLeft(state)).c_str());
    // One column stays free: a full line makes some terminals wrap.
    const int room = std::min(columns - 3 - static_cast<int>(figures.size()), 40);
    if (room < 4) return figures.substr(1, static_cast<std::size_t>(std::max(columns - 1, 0)));
    const double share = state.total > 0 ? (static_cast<double>(state.done) + state.part) /
                                               static_cast<double>(state.total)
                                         : 1.0;
    const int filled = std::clamp(static_cast<int>(share * room), 0, room);
    return "[" + std::string(filled, '#') + std::string(room - filled, '-') + "]" + figures;
}

std::string PlainText(const ProgressState& state) {
    if (state.total <= 0) {
        return Format("%lld frames, %.2f frames a second", static_cast<long long>(state.done),
                      Speed(state));
    }
    return Format("%lld of %lld frames, %.2f frames a second, %s left",
                  static_cast<long long>(state.done), static_cast<long long>(state.total),
                  Speed(state), TimeText(SecondsLeft(state)).c_str());
}

std::string JsonText(const ProgressState& state, std::int64_t frame) {
    if (state.total <= 0) {
        return Format(
            "{\"event\":\"frame\",\"frame\":%lld,\"done\":%lld,\"total\":null,\"seconds\":%.3f,"
            "\"framesPerSecond\":%.3f,\"secondsLeft\":null}",
            static_cast<long long>(frame), static_cast<long long>(state.done), state.seconds,
            Speed(state));
    }
    return Format(
        "{\"event\":\"frame\",\"frame\":%lld,\"done\":%lld,\"total\":%lld,\"seconds\":%.3f,"
        "\"framesPerSecond\":%.3f,\"secondsLeft\":%.1f}",
        static_cast<long long>(frame), static_cast<long long>(state.done),
        static_cast<long long>(state.total), state.seconds, Speed(state),
        std::max(SecondsLeft(state), 0.0));
}

std::string JsonString(const std::string& text) {
    constexpr auto kReplace = nlohmann::json::error_handler_t::replace;
    return nlohmann::json(text).dump(-1, ' ', false, kReplace);
}

ProgressLine::ProgressLine(ProgressStyle wanted, bool isQuiet, RunLog* newLog)
    : KQIdleAndProgressClass(nullptr),
      style(StyleFor(wanted, isQuiet)),
      quiet(isQuiet),
      log(newLog) {}

ProgressLine::~ProgressLine() {
    ClearBar();
}

ProgressLine::Style ProgressLine::StyleFor(ProgressStyle wanted, bool isQuiet) {
    if (isQuiet || wanted == ProgressStyle::kNone) return Style::kNone;
    if (wanted == ProgressStyle::kJson) return Style::kJson;
    return wanted == ProgressStyle::kAuto && IsTerminal() ? Style::kBar : Style::kPlain;
}

void ProgressLine::Start(std::int64_t frames) {
    state = {0, frames, 0.0, 0.0};
    started = lastShown = Clock::now();
}

void ProgressLine::ReportProgress(float fraction) {
    if (StopAtOnce()) throw ZPErrInterrupted;
    state.part = std::clamp(static_cast<double>(fraction), 0.0, 1.0);
    Show();
}

void ProgressLine::FrameDone(std::int64_t frame) {
    ++state.done;
    state.part = 0.0;
    Show();
    if (style == Style::kJson) Put(JsonText(state, frame) + "\n");
    Log("frame " + std::to_string(frame) + " rendered");
}

void ProgressLine::FrameFailed(std::int64_t frame, const std::string& why) {
    if (state.total > 0) --state.total;
    state.part = 0.0;
    ClearBar();
    const std::string number = std::to_string(frame);
    if (style == Style::kJson) {
        Put("{\"event\":\"failed\",\"frame\":" + number + ",\"text\":" + JsonString(why) + "}\n");
    } else {
        Put("velorin: output frame " + number + ": " + why + "\n");
    }
    Log("frame " + number + " failed: " + why);
}

void ProgressLine::Show() {
    const Clock::time_point now = Clock::now();
    state.seconds = std::chrono::duration<double>(now - started).count();
    if (style == Style::kBar && now - lastShown >= kBarPause) {
        Put("\r" + BarText(state, TerminalColumns()) + "\033[K");
        barShown = true;
        lastShown = now;
    } else if (style == Style::kPlain && now - lastShown >= kPlainPause) {
        Put(PlainText(state) + "\n");
        lastShown = now;
    }
}

void ProgressLine::ClearBar() {
    if (barShown) Put("\r\033[K");
    barShown = false;
}

void ProgressLine::Finish() {
    ClearBar();
    state.seconds = std::chrono::duration<double>(Clock::now() - started).count();
    const auto done = static_cast<long long>(state.done);
    if (style == Style::kJson) {
        Put(Format("{\"event\":\"done\",\"done\":%lld,\"seconds\":%.3f}\n", done, state.seconds));
    } else if (style != Style::kNone) {
        Put(Format("%lld %s in %.1f s, %.2f frames a second\n", done,
                   done == 1 ? "frame" : "frames", state.seconds, Speed(state)));
    }
    Log(Format("done: %lld frames in %.1f s", done, state.seconds));
}

void ProgressLine::Tell(const std::string& event, const std::string& text) {
    Log(text);
    if (quiet) return;
    ClearBar();
    if (style == Style::kJson) {
        Put("{\"event\":" + event + ",\"text\":" + JsonString(text) + "}\n");
    } else {
        Put(text + "\n");
    }
}

void ProgressLine::Note(const std::string& text) {
    Tell("\"note\"", text);
}

void ProgressLine::Stopped(int code, const std::string& text) {
    Tell("\"stopped\",\"code\":" + std::to_string(code), text);
}

void ProgressLine::Log(const std::string& text) {
    if (log) log->Add(text);
}

}  // namespace velorin
