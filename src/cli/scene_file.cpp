#include "cli/scene_file.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

#include "cli/nearest_name.h"
#include "cli/toml_text.h"
#include "media/text_file.h"

namespace velorin {

namespace {

constexpr std::string_view kList = "scenes";
constexpr std::string_view kFrame = "frame";
constexpr std::string_view kValue = "value";
constexpr int kLetters = 3;  // scenes A, B and C, which are told apart by their letters alone
constexpr std::int64_t kGreatestFrame = std::numeric_limits<std::int32_t>::max() - 1;

[[noreturn]] void RefuseKey(const TomlPlace& place, std::string_view name,
                            const std::vector<std::string_view>& names) {
    const std::string_view nearest = NearestName(name, names);
    place.Refuse(std::string(name) + " is not a key of scenes files; " +
                 (nearest.empty() ? "they have scenes, and in it frame and value"
                                  : "the nearest is " + std::string(nearest)));
}

std::int64_t ReadFrame(const TomlPlace& outer, const toml::node& node) {
    const TomlPlace place = outer.At(node);
    const auto* number = node.as_integer();
    if (!number || number->get() < 0 || number->get() > kGreatestFrame) {
        place.Refuse("frame: give a whole number from 0 to " + std::to_string(kGreatestFrame));
    }
    return number->get();
}

int ReadScene(const TomlPlace& outer, const toml::node& node) {
    const TomlPlace place = outer.At(node);
    const auto* word = node.as_string();
    const std::optional<int> scene = word ? SceneOfWord(word->get()) : std::nullopt;
    if (!scene) place.Refuse("value: give \"A\", \"B\", \"C\", \"nearest\" or \"blend\"");
    return *scene;
}

// The letter that a scene gets which begins behind `last`.
int LetterAfter(int last, int wanted) {
    return wanted == last && wanted < kLetters ? (wanted == 0 ? 1 : 0) : wanted;
}

SceneMark ReadMark(const TomlPlace& outer, const toml::node& node, const SceneMark* last) {
    const TomlPlace place = outer.At(node);
    const toml::table* table = node.as_table();
    if (!table) place.Refuse("give tables such as {frame = 24, value = \"B\"}");
    std::optional<std::int64_t> frame;
    int scene = 0;
    for (const auto& [name, part] : *table) {
        if (name == kFrame) {
            frame = ReadFrame(place, part);
        } else if (name == kValue) {
            scene = ReadScene(place, part);
        } else {
            RefuseKey(place.At(part), name.str(), {kFrame, kValue});
        }
    }
    if (!frame) place.Refuse("the frame is missing at which this scene begins");
    if (last && *frame <= last->frame) {
        place.Refuse("frame " + std::to_string(*frame) + " does not lie behind frame " +
                     std::to_string(last->frame) + ", the one before it");
    }
    return {*frame, last ? LetterAfter(last->scene, scene) : scene};
}

}  // namespace

SceneMarks MarksOfCuts(const std::vector<FoundCut>& cuts) {
    if (cuts.empty()) return {};
    std::vector<SceneMark> marks{{0, 0}};
    for (const FoundCut& cut : cuts) {
        marks.push_back({cut.frame, LetterAfter(marks.back().scene, 0)});
    }
    return SceneMarks(std::move(marks));
}

std::string SceneFileText(const std::vector<FoundCut>& cuts, const std::string& about) {
    std::string text =
        "# " + about +
        "\n"
        "# To be given as velorin retime --scenes FILE; frames count from 0. Each line below "
        "begins "
        "a scene.\n"
        "# To correct it, take the line of a cut out that is none, or put in {frame = N} where one "
        "is missing,\n"
        "# in the order of frames. Scenes next to each other count as different ones, whatever "
        "their "
        "letters;\n"
        "# with the value \"nearest\" or \"blend\" nothing moves in a scene.\n"
        "scenes = [\n"
        "    {frame = 0, value = \"A\"},\n";
    const SceneMarks marks = MarksOfCuts(cuts);
    for (const FoundCut& cut : cuts) {
        text += "    {frame = " + std::to_string(cut.frame) + ", value = \"" +
                std::string(SceneWord(marks.At(cut.frame))) + "\"},  # score " +
                std::to_string(std::lround(cut.score)) + "\n";
    }
    return text + "]\n";
}

SceneMarks ParseSceneFile(const std::string& text, const std::string& file) {
    const toml::table table = ParseToml(text, file);
    for (const auto& [name, node] : table) {
        if (name != kList) {
            RefuseKey({file, name.source().begin.line}, name.str(), {kList});
        }
    }
    const toml::node* node = table.get(kList);
    if (!node) TomlPlace{file, 1}.Refuse("the key scenes is missing");
    const TomlPlace place = TomlPlace{file, 1}.At(*node);
    const toml::array* list = node->as_array();
    if (!list) place.Refuse("scenes: give a list of tables such as {frame = 24, value = \"B\"}");
    std::vector<SceneMark> marks;
    for (const toml::node& entry : *list) {
        marks.push_back(ReadMark(place, entry, marks.empty() ? nullptr : &marks.back()));
    }
    return SceneMarks(std::move(marks));
}

SceneMarks ReadSceneFile(const std::string& file) {
    return ParseSceneFile(ReadTextFile(file, "a list of scenes"), file);
}

}  // namespace velorin
