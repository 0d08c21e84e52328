#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/scene_marks.h"

namespace velorin {

// A frame with which another scene begins than the one before it.
struct FoundCut {
    std::int64_t frame = 0;
    float score = 0.0f;
};

// Marks that tell the scenes apart that begin at these frames: A and B in turn, A from frame 0 on.
SceneMarks MarksOfCuts(const std::vector<FoundCut>& cuts);

// The text of a scenes file for these cuts, which the user may correct. `about` is a line that says
// what it is of.
std::string SceneFileText(const std::vector<FoundCut>& cuts, const std::string& about);

// Reads such a text. Each line of it begins a scene of its own: one of A, B and C that follows the
// same letter gets another. Throws UsageError that names the file and the line.
SceneMarks ParseSceneFile(const std::string& text, const std::string& file);

// Throws as above, and MediaError of kind kInput for a file that cannot be read.
SceneMarks ReadSceneFile(const std::string& file);

}  // namespace velorin
