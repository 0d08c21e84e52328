#pragma once

#include <array>
#include <cstdint>

namespace velorin {

// Remembers which few frames were used last. Who keeps them and who reads ahead for him each have
// one, and so agree on what has to be read.
class RecentFrames {
  public:
    static constexpr int kCount = 2;

    // The place of `frame`, 0 to kCount - 1: its own, or that of the one used longest ago, which
    // it takes over. `held` tells which.
    int Use(std::int64_t frame, bool& held);
    void Forget(int place) { places[place] = {}; }

  private:
    struct Place {
        std::int64_t frame = -1;
        std::int64_t lastUse = -1;
    };
    std::array<Place, kCount> places;
    std::int64_t uses = 0;
};

}  // namespace velorin
