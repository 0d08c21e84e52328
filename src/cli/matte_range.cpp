#include "cli/matte_range.h"

#include <algorithm>
#include <string>
#include <vector>

#include "media/converted_clip.h"

namespace velorin {

namespace {

using Frames = std::vector<std::int64_t>;

// A matte and what was seen of it.
struct SeenMatte {
    std::string name;
    ValueRange stored;
    float black = 0.0f;  // in stored values, as the options have it
    float white = 0.0f;
    bool stretched = false;
    bool allBlack = false;
    bool allWhite = false;
    bool reachesWhite = false;
};

ValueRange RangeInFrames(ClipReader& clip, int channel, const Frames& frames) {
    ValueRange range;
    Picture picture;
    for (const std::int64_t frame : frames) {
        clip.Read(frame, picture);
        const ValueRange seen = RangeOf(picture, channel);
        if (frame == frames[0]) range = seen;
        range.least = std::min(range.least, seen.least);
        range.greatest = std::max(range.greatest, seen.greatest);
    }
    return range;
}

SeenMatte LookAt(ClipReader& clip, const MatteSettings& settings, int pixelType,
                 const Frames& frames) {
    SeenMatte seen;
    const int storedType = PixelTypeOf(clip.Info().depth);
    const auto converted = [&](float value) {
        return ConvertMatteSample(value, storedType, pixelType, settings.levels);
    };
    float white = 1.0f;
    LookUpWhitePoint(pixelType, white);
    LookUpWhitePoint(storedType, seen.white);
    if (settings.levels) {
        seen.black = settings.levels->black;
        seen.white = settings.levels->white;
        seen.stretched = true;
    }
    seen.name = clip.Info().name;
    seen.stored = RangeInFrames(clip, settings.channel, frames);
    seen.allBlack = converted(seen.stored.greatest) == 0.0f;
    seen.allWhite = converted(seen.stored.least) == white;
    seen.reachesWhite = converted(seen.stored.greatest) == white;
    return seen;
}

// The options that make every matte reach white, the others being left as they are.
std::string MendingOptions(const std::vector<SeenMatte>& mattes) {
    std::string text;
    for (const SeenMatte& matte : mattes) {
        const bool mended = !matte.reachesWhite && !matte.allBlack;
        text += (text.empty() ? "" : " ") + std::string("--matte-levels ") +
                NumberText(matte.black) + "," +
                NumberText(mended ? matte.stored.greatest : matte.white);
    }
    return text;
}

// Empty when nothing is to be told.
std::string NoteOn(const SeenMatte& matte, const std::string& where, const std::string& mending) {
    const std::string seen = matte.name + ": as a matte it ";
    if (matte.allBlack) return seen + "is black " + where + ": its layer shows nothing";
    if (matte.allWhite) {
        return seen + "is white " + where +
               ": its layer is the whole frame and hides what is behind";
    }
    if (matte.reachesWhite) return "";
    const std::string white = NumberText(matte.white);
    return seen + "reaches " + NumberText(matte.stored.greatest) + " at most " + where + ", and " +
           (matte.stretched ? "--matte-levels makes " + white + " white" : "white is " + white) +
           ": its layer stays partly transparent; " + mending + " would mend it";
}

}  // namespace

void NoteMatteRanges(const Options& options, const RunPlan& plan, const RunClips& clips,
                     ProgressLine& progress) {
    if (options.quiet || clips.mattes.empty() || (plan.frames.empty() && !plan.isOpen)) return;
    const Frames frames = FramesToLookAt(ClipRole::kMatte, clips.mattes[0]->Info(), options, plan);
    if (frames.empty()) {
        progress.Note("--matte: changes nothing here, as no frame is moved along its motion");
        return;
    }
    std::vector<SeenMatte> mattes;
    for (std::size_t i = 0; i < clips.mattes.size(); ++i) {
        mattes.push_back(LookAt(*clips.mattes[i],
                                {options.matteChannel.value_or(0), options.matteLevels[i]},
                                PixelTypeOf(plan.source.depth), frames));
    }
    const std::string where = frames.size() == 1
                                  ? "on the frame looked at"
                                  : "on the " + std::to_string(frames.size()) + " frames looked at";
    for (const SeenMatte& matte : mattes) {
        const std::string note = NoteOn(matte, where, MendingOptions(mattes));
        if (!note.empty()) progress.Note(note);
    }
}

}  // namespace velorin
