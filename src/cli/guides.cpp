#include "cli/guides.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "media/guide_file.h"

namespace velorin {

namespace {

std::string SizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

[[noreturn]] void Refuse(const std::string& name, const std::string& why) {
    throw MediaError(MediaError::Kind::kInput, name + ": " + why);
}

void CheckSpan(const std::string& name, const GuideSpan& span, const ClipInfo& source) {
    if (span.first < source.frames && span.last >= 0) return;
    Refuse(name, "has positions from frame " + std::to_string(span.first) + " to " +
                     std::to_string(span.last) + " of " + source.name + ", which has frames 0 to " +
                     std::to_string(source.frames - 1) +
                     "; give the number that the file has for frame 0 by --guides-first N");
}

// A clip of one frame has no pairs.
void CheckPairs(const std::string& name, const std::vector<bool>& guided, ProgressLine& progress) {
    const auto without = std::count(guided.begin(), guided.end(), false);
    if (without == 0) return;
    if (without == std::ssize(guided)) {
        Refuse(name,
               "no point has a position on two frames that follow each other; a gap is never "
               "bridged, so give each point a position on every frame that it is seen on");
    }
    const auto first = std::find(guided.begin(), guided.end(), false) - guided.begin();
    progress.Note(name + ": no point is on both frames of " + std::to_string(without) + " of " +
                  std::to_string(guided.size()) + " pairs that follow each other, first of " +
                  std::to_string(first) + " and " + std::to_string(first + 1) +
                  "; it guides nothing there");
}

std::vector<GuideTrack> OpenTracks(const std::string& name, const Options& options,
                                   const ClipInfo& source, ProgressLine& progress) {
    const GuideFile file = ReadGuideFile(name);
    const bool tellsSize = file.width > 0 && file.height > 0;
    if (tellsSize && (file.width != source.width || file.height != source.height)) {
        Refuse(name, "was made on frames of " + SizeText(file.width, file.height) + " pixels and " +
                         source.name + " has " + SizeText(source.width, source.height) +
                         "; both must be of one size");
    }
    GuidePlacement placement;
    placement.origin = options.guidesOrigin == 1 ? GuideOrigin::kTop : GuideOrigin::kBottom;
    placement.width = source.width;
    placement.height = source.height;
    placement.firstFrame = options.guidesFirst.value_or(0);
    PlacedGuides placed = PlaceGuides(file.tracks, placement);
    if (placed.tracks.empty()) {
        Refuse(name, "has all its positions outside the frames of " + source.name + ", which are " +
                         SizeText(source.width, source.height));
    }
    CheckSpan(name, SpanOf(placed.tracks), source);
    if (placed.dropped > 0) {
        const bool one = placed.dropped == 1;
        progress.Note(name + ": " + std::to_string(placed.dropped) +
                      (one ? " position lies outside the frame and is dropped"
                           : " positions lie outside the frame and are dropped"));
    }
    if (source.frames == kFramesUnknown) return std::move(placed.tracks);
    CheckPairs(name, GuidedPairs(placed.tracks, source.frames), progress);
    return std::move(placed.tracks);
}

}  // namespace

std::vector<LayerGuides> OpenGuides(const Options& options, const ClipInfo& source,
                                    ProgressLine& progress) {
    std::vector<LayerGuides> guides;
    for (std::size_t i = 0; i < options.guides.size(); ++i) {
        guides.push_back(
            {options.guidesLayers[i], OpenTracks(options.guides[i], options, source, progress)});
    }
    return guides;
}

}  // namespace velorin
