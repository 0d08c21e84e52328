#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/chunk.h"
#include "cli/curve_text.h"
#include "cli/frame_list.h"
#include "cli/key_list.h"
#include "cli/scene_marks.h"
#include "media/stamp.h"
#include "media/timecode.h"

namespace velorin {
namespace {

constexpr std::int64_t kLength = 1000;

void LookAtFrames(const std::string& text) {
    const auto ranges = ParseFrames(text);
    if (!ranges) return;
    for (const std::int64_t frame : ChosenFrames(*ranges, kLength)) {
        if (frame < 0 || frame >= kLength) std::abort();
    }
}

void LookAtCurve(const std::string& text, CurveKind kind) {
    try {
        const Curve curve = ParseCurve(text, kind);
        if (curve.Keys().empty()) std::abort();
    } catch (const KeyError&) {
    }
}

void LookAtScenes(const std::string& text) {
    try {
        const SceneMarks scenes = ParseSceneMarks(text);
        for (const SceneMark& mark : scenes.Marks()) {
            if (scenes.At(mark.frame) != mark.scene) std::abort();
        }
    } catch (const KeyError&) {
    }
}

}  // namespace
}  // namespace velorin

// Values of options, and what is read of files: refused in words, or understood.
extern "C" int LLVMFuzzerTestOneInput(const char* bytes, std::size_t count) {
    const std::string text(bytes, count);
    velorin::LookAtFrames(text);
    velorin::LookAtCurve(text, velorin::CurveKind::kSpeed);
    velorin::LookAtCurve(text, velorin::CurveKind::kSourceFrame);
    velorin::LookAtScenes(text);
    velorin::ParseChunk(text);
    if (const auto stamp = velorin::ParseStamp(text)) {
        if (velorin::StampText(*stamp).empty()) std::abort();
    }
    velorin::ParseTimecode(text);
    return 0;
}
