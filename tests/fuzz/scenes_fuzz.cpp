#include <cstdlib>
#include <string>

#include "cli/options.h"
#include "cli/scene_file.h"

using velorin::ParseSceneFile;
using velorin::SceneMark;
using velorin::SceneMarks;
using velorin::UsageError;

// Whatever stands in a scenes file, it is refused in words, or each of its lines begins a scene.
extern "C" int LLVMFuzzerTestOneInput(const char* bytes, std::size_t count) {
    try {
        const SceneMarks scenes = ParseSceneFile(std::string(bytes, count), "fuzz.toml");
        const SceneMark* last = nullptr;
        for (const SceneMark& mark : scenes.Marks()) {
            const bool isLetter = mark.scene < 3;
            if (mark.frame < 0 || mark.scene < 0 || mark.scene > 4) std::abort();
            if (last && mark.frame <= last->frame) std::abort();
            if (last && isLetter && mark.scene == last->scene) std::abort();
            last = &mark;
        }
    } catch (const UsageError&) {
    }
    return 0;
}
