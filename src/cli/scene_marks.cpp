#include "cli/scene_marks.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "cli/key_list.h"

namespace velorin {

namespace {

constexpr std::string_view kScenes[] = {"A", "B", "C", "nearest", "blend"};

}  // namespace

SceneMarks::SceneMarks(std::vector<SceneMark> newMarks) : marks(std::move(newMarks)) {}

int SceneMarks::At(std::int64_t frame) const {
    if (marks.empty()) return 0;
    const auto next = std::upper_bound(
        marks.begin() + 1, marks.end(), frame,
        [](std::int64_t wanted, const SceneMark& mark) { return wanted < mark.frame; });
    return std::prev(next)->scene;
}

SceneMarks ParseSceneMarks(std::string_view text) {
    std::vector<SceneMark> marks;
    KeyFrames frames;
    const std::string advice =
        "give source frames with the scene that begins there, such as 0:A,48:B: the scenes are A, "
        "B, C, nearest and blend";
    for (const KeyText& key : SplitKeys(text, advice)) {
        const std::int64_t frame = frames.Read(key);
        const std::optional<int> scene = SceneOfWord(key.value);
        if (!scene) throw KeyError(key.whole, advice);
        marks.push_back({frame, *scene});
    }
    return SceneMarks(std::move(marks));
}

std::string_view SceneWord(int scene) {
    return kScenes[scene];
}

std::optional<int> SceneOfWord(std::string_view word) {
    const auto found = std::find(std::begin(kScenes), std::end(kScenes), word);
    if (found == std::end(kScenes)) return std::nullopt;
    return static_cast<int>(found - std::begin(kScenes));
}

}  // namespace velorin
