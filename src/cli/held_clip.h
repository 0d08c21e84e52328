#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "cli/recent_frames.h"
#include "media/clip.h"

namespace velorin {

// A clip whose frames used last stay in memory.
class HeldClip {
  public:
    explicit HeldClip(std::unique_ptr<ClipReader> newClip) : clip(std::move(newClip)) {}

    // Frame `frame`, which stays as it is while the caller keeps it and whom it is shared with does
    // not alter it. Throws MediaError.
    std::shared_ptr<Picture> Fetch(std::int64_t frame);

  private:
    std::unique_ptr<ClipReader> clip;
    RecentFrames recent;
    std::array<std::shared_ptr<Picture>, RecentFrames::kCount>
        pictures;  // in the places of `recent`
};

}  // namespace velorin
