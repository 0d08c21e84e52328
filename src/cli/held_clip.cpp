#include "cli/held_clip.h"

namespace velorin {

std::shared_ptr<Picture> HeldClip::Fetch(std::int64_t frame) {
    bool held = false;
    const int place = recent.Use(frame, held);
    if (!held) {
        try {
            clip->ReadShared(frame, pictures[place]);
        } catch (...) {
            recent.Forget(place);
            throw;
        }
    }
    return pictures[place];
}

}  // namespace velorin
