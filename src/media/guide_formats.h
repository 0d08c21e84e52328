#pragma once

#include <vector>

#include "media/guide_file.h"
#include "media/guide_source.h"

namespace velorin {

// The readers of the forms of guide files. They throw what ReadGuideFile does; what they answer may
// hold tracks without a position.

// One position a line: name, frame, x, y, or frame, x, y for a single track. Blank lines and those
// that begin with # are left out already, as they are for the blocks.
GuideFile ReadGuideTable(const GuideSource& source, const std::vector<GuideLine>& lines);

// Blocks of a name, a whole number, the count of positions, and the positions; before the first
// there may be the count of blocks.
bool AreGuideBlocks(const std::vector<GuideLine>& lines);
GuideFile ReadGuideBlocks(const GuideSource& source, const std::vector<GuideLine>& lines);

// Keyframes of an animated position, as text: a heading, a line of column titles, lines of values,
// all with tabs between and values also with one in front.
bool AreGuideKeyframes(const std::vector<GuideLine>& allLines);
GuideFile ReadGuideKeyframes(const GuideSource& source, const std::vector<GuideLine>& allLines);

GuideFile ReadGuideJson(const GuideSource& source);

}  // namespace velorin
