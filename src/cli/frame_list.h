#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velorin {

// Frames first, first + step, ... up to and including `last`.
struct FrameRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::int64_t step = 1;
};

// Reads `7`, `7-9`, `7-`, `0-100x10` and lists of these with commas. Nothing for any other text, a
// range that runs backwards or a step of 0.
std::optional<std::vector<FrameRange>> ParseFrames(std::string_view text);

// The frames of all ranges that are below `length`: each once, in ascending order.
std::vector<std::int64_t> ChosenFrames(const std::vector<FrameRange>& ranges, std::int64_t length);

// The first frame from `from` on that a range names, or `from` itself without ranges.
std::optional<std::int64_t> NextChosen(const std::vector<FrameRange>& ranges, std::int64_t from);

// Whether a range names a frame at or past `length`; one with an open end names only its first.
bool ReachesPast(const std::vector<FrameRange>& ranges, std::int64_t length);

}  // namespace velorin
