#include "cli/held_clip.h"

namespace velorin {

std::shared_ptr<Picture> HeldClip::Fetch(std::int64_t frame) {
    bool held = false;
    const int place = recent.Use(frame, held);
    if (!held) {
        try {
            if (pictures[place].use_count() != 1) pictures[place] = std::make_shared<Picture>();
            clip->Read(frame, *pictures[place]);
        } catch (...) {
            recent.Forget(place);
            throw;
        }
    }
    return pictures[place];
}

}  // namespace velorin
