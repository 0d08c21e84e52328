#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "cli/forecast.h"

namespace velorin {

// Part `number`, counted from 1, of a job that is split into `of` parts.
struct Chunk {
    std::int64_t number = 1;
    std::int64_t of = 1;
};

// Reads `2/8`. Nothing for any other text and for a number that is not from 1 to the second.
std::optional<Chunk> ParseChunk(std::string_view text);

// What frames cost, in any unit.
struct FrameCosts {
    std::int64_t frame = 0;  // each one: reading and writing
    std::int64_t mix = 0;    // a pass that moves and mixes two frames
    std::int64_t pair = 0;   // a pair whose motion is estimated
    bool keepsFlows = true;  // it is estimated once for the frames that follow each other in it
};

// Those of the frames that are the chunk's: the chunks of a job follow each other, hold every frame
// once, and begin where the pair of source frames changes, so that none estimates what its
// neighbour does. Their costs are as even as that allows: none is further from its share than what
// one pair's frames cost. There are fewer chunks with frames than chunks where pairs are few.
std::vector<std::int64_t> FramesOfChunk(const std::vector<std::int64_t>& frames, const Chunk& chunk,
                                        const TimeLaw& law, const RequestSettings& request,
                                        const FrameCosts& costs);

}  // namespace velorin
