#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "media/clip.h"
#include "media/sequence_name.h"

namespace velorin {

// What the headers of a source give to the stills that are written from it.
//
// A still follows the header of the earlier source frame that it is made of, or of the last one
// before that where it is missing. In a file of the source's format stay all attributes but those
// that tell of the old file and not of its picture: how it is laid out (tiles, line order, parts),
// what is computed from its bytes (hashes, unique names, previews), the length of its sequence, and
// this program's own. In a file of another format stay those that belong to no format, and codes of
// time and film. Time code, and a DPX's position in its sequence, count output frames from the
// first one's, which is its source frame's.
class SourceHeaders {
  public:
    // For files of the format that OpenImageIO calls `targetFormat`.
    SourceHeaders(const OutputSettings& outputSettings, const std::string& targetFormat);

    // Gives `layout`, whose size is set, what output frame `frame` keeps.
    void Complete(std::int64_t frame, OIIO::ImageSpec& layout);
    // Where the source frames of an output frame store pixels; nothing where no file tells.
    std::optional<Window> StoredWindow(std::int64_t frame);

  private:
    struct Header {
        std::int64_t frame = -1;
        std::string format;
        OIIO::ImageSpec layout;
    };
    SourceFrames MadeOf(std::int64_t frame) const;
    const Header* HeaderOf(std::int64_t sourceFrame);
    void CountOn(std::int64_t frame, const Header* header, OIIO::ImageSpec& layout);

    const OutputSettings& settings;
    const std::string format;
    std::optional<SequenceName> name;  // of the source's files
    std::array<Header, 2> recent;      // the one used last is the first
    std::optional<int> firstPosition;  // of output frame 0 in a DPX sequence
};

}  // namespace velorin
