#pragma once

#include "cli/options.h"

namespace velorin {

// Setters of the table of options: how a long job is run.
void SetChunk(Options& options, const Argument& argument);
void SetLog(Options& options, const Argument& argument);

// Once all options are set: refuses what does not go together, with a UsageError.
void CompleteJobOptions(const Options& options);

// About what the frames of a run cost, in nanoseconds a pixel.
FrameCosts CostsOf(const Options& options);

// The source with its holes, as --missing says. Throws MediaError of kind kInput where holes are an
// error, and UsageError where they cannot be filled.
void CheckHoles(const Options& options, const ClipInfo& source);

// The frames that a sequence lacks, without those that only repeat the one before.
std::vector<std::int64_t> HolesOf(const Options& options, const ClipInfo& source);

// The numbers of the source's holes, for messages.
std::string HolesText(const Options& options, const ClipInfo& source);

}  // namespace velorin
