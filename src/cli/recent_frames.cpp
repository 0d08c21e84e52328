#include "cli/recent_frames.h"

namespace velorin {

int RecentFrames::Use(std::int64_t frame, bool& held) {
    int found = 0;
    held = false;
    for (int i = 0; i < kCount && !held; ++i) {
        held = places[i].frame == frame;
        if (held || places[i].lastUse < places[found].lastUse) found = i;
    }
    places[found] = {frame, uses++};
    return found;
}

}  // namespace velorin
