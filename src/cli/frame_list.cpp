#include "cli/frame_list.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "media/guide_source.h"

namespace velorin {

namespace {

constexpr std::int64_t kOpenEnd = std::numeric_limits<std::int64_t>::max();

// Takes a number off the front of `text`.
bool TakeNumber(std::string_view& text, std::int64_t& number) {
    if (text.starts_with('-')) return false;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return true;
}

bool TakeLetter(std::string_view& text, char letter) {
    if (!text.starts_with(letter)) return false;
    text.remove_prefix(1);
    return true;
}

std::optional<FrameRange> ParseRange(std::string_view text) {
    FrameRange range;
    if (!TakeNumber(text, range.first)) return std::nullopt;
    range.last = range.first;
    if (TakeLetter(text, '-')) {
        if (!TakeNumber(text, range.last)) range.last = kOpenEnd;
        if (TakeLetter(text, 'x') && !TakeNumber(text, range.step)) return std::nullopt;
    }
    if (!text.empty() || range.last < range.first || range.step < 1) return std::nullopt;
    return range;
}

}  // namespace

std::optional<std::vector<FrameRange>> ParseFrames(std::string_view text) {
    std::vector<FrameRange> ranges;
    while (true) {
        const std::size_t comma = text.find(',');
        const std::optional<FrameRange> range = ParseRange(Trimmed(text.substr(0, comma)));
        if (!range) return std::nullopt;
        ranges.push_back(*range);
        if (comma == std::string_view::npos) return ranges;
        text.remove_prefix(comma + 1);
    }
}

std::vector<std::int64_t> ChosenFrames(const std::vector<FrameRange>& ranges, std::int64_t length) {
    std::vector<std::int64_t> frames;
    for (const FrameRange& range : ranges) {
        const std::int64_t last = std::min(range.last, length - 1);
        for (std::int64_t frame = range.first; frame <= last; frame += range.step) {
            frames.push_back(frame);
            if (range.step > last - frame) break;
        }
    }
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    return frames;
}

std::optional<std::int64_t> NextChosen(const std::vector<FrameRange>& ranges, std::int64_t from) {
    if (ranges.empty()) return from;
    std::optional<std::int64_t> nearest;
    for (const FrameRange& range : ranges) {
        std::int64_t frame = range.first;
        if (frame < from) {
            const std::int64_t over = (from - frame) % range.step;
            const std::int64_t wait = over == 0 ? 0 : range.step - over;
            if (wait > range.last - from) continue;
            frame = from + wait;
        }
        if (frame <= range.last && frame < nearest.value_or(kOpenEnd)) nearest = frame;
    }
    return nearest;
}

bool ReachesPast(const std::vector<FrameRange>& ranges, std::int64_t length) {
    return std::any_of(ranges.begin(), ranges.end(), [&](const FrameRange& range) {
        const std::int64_t last = range.last == kOpenEnd ? range.first : range.last;
        return last >= length;
    });
}

}  // namespace velorin
