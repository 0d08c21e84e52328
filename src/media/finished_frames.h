#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "media/clip.h"
#include "media/sequence_name.h"
#include "media/stamp.h"

namespace velorin {

// The files of a sequence that was written by CreateClip, with what they say of how they were made.
class FinishedFrames {
  public:
    explicit FinishedFrames(const SequenceName& newSequence);

    bool IsThere(std::int64_t number) const;
    // The stamp in the frame first, or the last one that was added for its samples; then what was
    // added to it without changing the picture. Empty for a frame of another program, or one whose
    // stamp cannot be read.
    std::vector<Stamp> StampsOf(std::int64_t number) const;
    // Reads the whole file. What is wrong with it; empty for a whole one.
    std::string ProblemOf(std::int64_t number) const;

    const SequenceName& Sequence() const { return sequence; }

  private:
    SequenceName sequence;
    std::multimap<std::int64_t, StampFile::Line> added;  // by number, in the order of adding
};

// The digest of the samples that a file stores, in the rows' order.
std::string DigestOfSamples(const void* samples, std::size_t bytes);

// The stamp of a finished movie; empty for one of another program.
std::optional<Stamp> StampOfMovie(const std::string& name);

}  // namespace velorin
