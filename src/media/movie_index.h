#pragma once

#include <cstdint>
#include <vector>

#include "media/movie_stream.h"

namespace velorin {

// Which pictures a movie shows and when, found by a walk over its packets.
struct MovieIndex {
    // A picture that needs no other to be decoded.
    struct Key {
        std::int64_t time;
        std::int64_t decodeTime;
    };

    std::vector<std::int64_t> times;  // of showing, ascending; empty where pictures are counted
    std::vector<Key> keys;            // by time
    // The packets do not tell when pictures are shown: frame n is the n-th that the decoder gives.
    bool counted = false;
    std::int64_t frames = 0;    // of the whole movie, also where it is cut short
    std::int64_t readable = 0;  // how many of them are there, from the first on

    // The last key shown at or before that frame, or the first one.
    std::size_t KeyBefore(std::int64_t frame) const;
    bool HasConstantRate() const;
};

// Leaves the stream at its beginning. Decodes only where the packets do not tell enough.
MovieIndex IndexMovie(MovieStream& stream);

}  // namespace velorin
