#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media/clip.h"
#include "media/sequence_name.h"

namespace velorin {

// The names of a sequence's own files; empty for a movie.
std::optional<SequenceName> SequenceNameOf(const ClipInfo& clip);

// Tells the versions of a clip's frames apart without reading them.
class ClipFiles {
  public:
    explicit ClipFiles(const ClipInfo& clip);

    // Name, size and time of the last change of the file that holds the frame. The name is without
    // its folder and the time in microseconds: machines may reach one file by different ways, some
    // of which round times.
    std::string IdentityOf(std::int64_t frame) const;
    // Of the whole clip: its name without the folder.
    std::string Name() const;

  private:
    std::string movie;
    std::string movieIdentity;
    std::optional<SequenceName> sequence;
    int firstNumber;
};

}  // namespace velorin
