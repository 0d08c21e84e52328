#pragma once

#include <array>
#include <memory>

#include "host/my_image.h"

namespace velorin {

// The last two frames of the front clip, as the engine gets them: an output frame between two
// source frames needs the same two as its neighbour. A frame is told by its number within a format,
// and by nothing else: what changes the clip's content has to throw the cache away.
//
// The entries are filled in turn. Looking a frame up does not make it younger.
class FrameCache {
  public:
    // Whether getCache has the frame in this form. An entry that holds it in another form is thrown
    // away, the other entry stays. Frames count from 0.
    bool getCacheState(int frame, int width, int height, int sparkFormat, int rowBytes,
                       int channels);

    // Keeps a copy of `image` in place of the entry that was stored longest ago. Without memory
    // for it that entry is empty afterwards.
    void setCache(const MyImage& image, int frame);

    // Copies the frame into `image`; a line on the error stream where no entry has it.
    void getCache(MyImage& image, int frame) const;

    void CleanCache();

  private:
    struct Entry {
        int frame = 0;
        std::unique_ptr<MyImage> image;  // null: the entry is empty
    };

    static bool Holds(const Entry& entry, int frame) { return entry.image && entry.frame == frame; }

    std::array<Entry, 2> entries;
    int nextEntry = 0;
};

}  // namespace velorin
