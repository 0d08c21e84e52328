#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media/clip.h"
#include "media/sequence_name.h"

namespace velorin {

// A stamp as a file keeps it, as the name of the program that wrote it: fewer than 100 bytes, which
// is what DPX has room for.
std::string StampText(const Stamp& stamp);
// Nothing for any other text.
std::optional<Stamp> ParseStamp(const std::string& text);

// Whether files of that extension keep the name of the program that wrote them.
bool KeepsStamp(const std::string& extension);

// What is known of a sequence's frames beside the files themselves: a hidden text file in their
// folder, .slow.ppm.velorin for slow.%04d.ppm, of lines that are only ever added to. Several
// processes may do so at once: a line that got torn on the way does not count, and the frame is one
// of which nothing is known.
class StampFile {
  public:
    explicit StampFile(const SequenceName& sequence);

    // `digest` is that of the frame's samples where the frame itself keeps no stamp: the line
    // counts for these samples alone. Empty: the line adds to what the frame says. Throws
    // MediaError.
    void Append(std::int64_t number, const std::string& digest, const Stamp& stamp) const;

    struct Line {
        std::int64_t number = 0;
        std::string digest;
        Stamp stamp;
    };
    // In the order in which they were added; none where there is no file.
    std::vector<Line> Read() const;

    const std::string& Name() const { return name; }

  private:
    std::string name;
};

}  // namespace velorin
