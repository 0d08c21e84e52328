#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace velorin {

// A source frame from which on a scene holds; the scene is a number of KQVelorin4::WhichScene.
struct SceneMark {
    std::int64_t frame = 0;
    int scene = 0;
};

// The scene of every source frame. Each mark holds until the next, and the first before itself too;
// without marks all frames have the same scene.
class SceneMarks {
  public:
    SceneMarks() = default;
    // In ascending order by frames.
    explicit SceneMarks(std::vector<SceneMark> newMarks);

    int At(std::int64_t frame) const;
    const std::vector<SceneMark>& Marks() const { return marks; }

  private:
    std::vector<SceneMark> marks;
};

// Reads `0:A,48:B,96:nearest`. Throws KeyError.
SceneMarks ParseSceneMarks(std::string_view text);

// How a scene is called: A, B, C, nearest or blend.
std::string_view SceneWord(int scene);
std::optional<int> SceneOfWord(std::string_view word);

}  // namespace velorin
