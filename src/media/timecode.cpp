#include "media/timecode.h"

#include <algorithm>
#include <cstdio>

extern "C" {
#include <libavutil/timecode.h>
}

namespace velorin {
namespace {

constexpr std::int64_t kHoursOfDay = 24;
constexpr int kPairsAbove = 30;
constexpr std::uint32_t kDropFlag = 1u << 6;
constexpr std::uint32_t kSecondOfPair = 1u << 15;
constexpr std::uint32_t kDigits = 0x3f7f7f3f;  // the bits of all four numbers

bool Drops(const Timecode& code, int rate) {
    return code.dropFrame && rate % 30 == 0;
}

AVTimecode CountFrom(const Timecode& code, int rate) {
    AVTimecode counter{};
    av_timecode_init_from_components(
        &counter, {rate, 1}, Drops(code, rate) ? AV_TIMECODE_FLAG_DROPFRAME : 0, code.hours,
        code.minutes, code.seconds, std::min(code.frames, rate - 1), nullptr);
    return counter;
}

// Every tenth minute drops nothing, the others two numbers for each 30 frames a second.
std::int64_t FramesOfDay(bool drops, int rate) {
    const std::int64_t all = kHoursOfDay * 3600 * rate;
    return drops ? all - kHoursOfDay * 54 * 2 * (rate / 30) : all;
}

std::uint32_t TwoDigits(int number, int shift) {
    return static_cast<std::uint32_t>(number / 10 << 4 | number % 10) << shift;
}

int NumberAt(std::uint32_t word, int shift, std::uint32_t mask) {
    const std::uint32_t digits = word >> shift & mask;
    return static_cast<int>((digits >> 4) * 10 + (digits & 15));
}

}  // namespace

int TimecodeRate(Rational rate) {
    if (rate.numerator <= 0) return 24;
    return static_cast<int>(
        std::max<std::int64_t>(1, (rate.numerator + rate.denominator / 2) / rate.denominator));
}

Timecode TimecodeAfter(const Timecode& first, std::int64_t frames, int rate) {
    const bool drops = Drops(first, rate);
    const std::int64_t day = FramesOfDay(drops, rate);
    std::int64_t count = (CountFrom(first, rate).start + frames % day + day) % day;
    if (drops) count = av_timecode_adjust_ntsc_framenum2(static_cast<int>(count), rate);
    const auto part = [&](std::int64_t unit, std::int64_t most) {
        return static_cast<int>(count / unit % most);
    };
    const std::int64_t second = rate;
    return {part(3600 * second, kHoursOfDay), part(60 * second, 60), part(second, 60),
            part(1, second), first.dropFrame};
}

std::optional<Timecode> ParseTimecode(const std::string& text) {
    Timecode code;
    char mark = 0;
    char rest = 0;
    const int read = std::sscanf(text.c_str(), "%2d:%2d:%2d%c%2d%c", &code.hours, &code.minutes,
                                 &code.seconds, &mark, &code.frames, &rest);
    const auto inside = [](int number, int most) { return number >= 0 && number < most; };
    const bool known = mark == ':' || mark == ';' || mark == '.';
    if (read != 5 || !known || !inside(code.hours, 24) || !inside(code.minutes, 60) ||
        !inside(code.seconds, 60) || code.frames < 0) {
        return {};
    }
    code.dropFrame = mark != ':';
    return code;
}

std::string TimecodeText(const Timecode& code) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", code.hours, code.minutes, code.seconds,
                  code.dropFrame ? ';' : ':', code.frames);
    return text;
}

Timecode TimecodeOfWord(std::uint32_t word, int rate) {
    Timecode code{NumberAt(word, 24, 0x3f), NumberAt(word, 16, 0x7f), NumberAt(word, 8, 0x7f),
                  NumberAt(word, 0, 0x3f), (word & kDropFlag) != 0};
    if (rate > kPairsAbove) code.frames = code.frames * 2 + ((word & kSecondOfPair) != 0 ? 1 : 0);
    return code;
}

std::uint32_t WordOfTimecode(const Timecode& code, int rate, std::uint32_t word) {
    const bool pairs = rate > kPairsAbove;
    std::uint32_t kept = word & ~(kDigits | kDropFlag);
    if (pairs) kept = (kept & ~kSecondOfPair) | (code.frames % 2 != 0 ? kSecondOfPair : 0);
    return kept | (code.dropFrame ? kDropFlag : 0) | TwoDigits(code.hours, 24) |
           TwoDigits(code.minutes, 16) | TwoDigits(code.seconds, 8) |
           TwoDigits(pairs ? code.frames / 2 : code.frames, 0);
}

int RateBetween(const Timecode& first, const Timecode& last, std::int64_t frames) {
    for (const int rate : {24, 25, 30}) {
        const bool counts = first.frames < rate && last.frames < rate;
        if (counts && TimecodeAfter(first, frames, rate) == last) return rate;
    }
    return 0;
}

}  // namespace velorin
