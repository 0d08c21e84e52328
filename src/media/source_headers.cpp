#include "media/source_headers.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "media/clip_files.h"
#include "media/plain_ppm.h"
#include "media/stamp.h"
#include "media/still_shape.h"
#include "media/timecode.h"

namespace velorin {
namespace {

constexpr const char* kTimecode = "smpte:TimeCode";
constexpr const char* kPosition = "dpx:FramePosition";

// Tell of the file, its layout or its place among others.
constexpr std::string_view kOfTheFile[] = {"name",           "view",
                                           "type",           "chunkcount",
                                           "version",        "multiview",
                                           "planarconfig",   "dpx:endoflinepadding",
                                           "dpx:timecode",   "dpx:userbits",
                                           "preview",        "dpx:endofimagepadding",
                                           "dpx:encryptkey", "dpx:sequencelength"};
// Words of what is computed from the bytes of a file, or names it alone.
constexpr std::string_view kOfItsBytes[] = {"md5",      "sha1", "sha-1", "sha256", "sha-256",
                                            "checksum", "hash", "uuid",  "umid",   "imageuniqueid"};
constexpr std::string_view kPrefixes[] = {"velorin:", "tiff:", "jpeg:",      "png:",        "pnm:",
                                          "openexr:", "oiio:", "thumbnail_", "cryptomatte/"};
constexpr std::string_view kKept[] = {"openexr:dwacompressionlevel", "oiio:colorspace",
                                      "oiio:gamma"};

template <std::size_t count>
bool IsIn(const std::string& name, const std::string_view (&names)[count]) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

std::string InSmallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

bool StaysInFormat(const std::string& name) {
    if (IsIn(name, kKept)) return true;
    const auto starts = [&](std::string_view prefix) { return name.starts_with(prefix); };
    const auto holds = [&](std::string_view word) { return name.find(word) != std::string::npos; };
    return !IsIn(name, kOfTheFile) &&
           std::none_of(std::begin(kPrefixes), std::end(kPrefixes), starts) &&
           std::none_of(std::begin(kOfItsBytes), std::end(kOfItsBytes), holds);
}

bool GoesToOtherFormat(const std::string& name) {
    const bool common = name.find(':') == std::string::npos || name.starts_with("smpte:");
    return common && name != "compression" && name != "orientation" && StaysInFormat(name);
}

// The library tells the level of a DWA compression by itself, but takes it as a part of the
// method's name alone, and there as a whole number.
void NameDwaLevel(OIIO::ImageSpec& layout) {
    const std::string method = layout.get_string_attribute("compression");
    const float level = layout.get_float_attribute("openexr:dwaCompressionLevel");
    if (!method.starts_with("dwa") || !(level >= 1.0f)) return;
    layout.attribute("compression", method + ":" + std::to_string(std::lround(level)));
}

}  // namespace

SourceHeaders::SourceHeaders(const OutputSettings& outputSettings, const std::string& targetFormat)
    : settings(outputSettings), format(targetFormat), name(SequenceNameOf(outputSettings.source)) {}

SourceFrames SourceHeaders::MadeOf(std::int64_t frame) const {
    return settings.madeOf ? settings.madeOf(frame) : SourceFrames();
}

// Null where the file cannot be read: a picture that came from elsewhere lacks a header at most.
const SourceHeaders::Header* SourceHeaders::HeaderOf(std::int64_t sourceFrame) {
    if (!name) return nullptr;
    const std::vector<std::int64_t>& missing = settings.source.missing;
    while (std::binary_search(missing.begin(), missing.end(), sourceFrame)) --sourceFrame;
    if (recent[0].frame == sourceFrame) return &recent[0];
    std::swap(recent[0], recent[1]);
    if (recent[0].frame == sourceFrame) return &recent[0];
    const std::string file = name->FileName(settings.source.firstNumber + sourceFrame);
    auto input = OpenPlainPpm(file);
    if (!input) input = OIIO::ImageInput::open(file);
    if (!input) {
        OIIO::geterror();  // else it is printed at the end of the program
        std::swap(recent[0], recent[1]);
        return nullptr;
    }
    recent[0] = {sourceFrame, input->format_name(), input->spec()};
    return &recent[0];
}

void SourceHeaders::CountOn(std::int64_t frame, const Header* header, OIIO::ImageSpec& layout) {
    const ClipInfo& source = settings.source;
    if (source.timecode) {
        const Timecode first =
            TimecodeAfter(*source.timecode, MadeOf(0).earlier, source.timecodeRate);
        const int rate =
            source.rate.numerator > 0 ? TimecodeRate(source.rate) : source.timecodeRate;
        std::uint32_t words[2] = {0, 0};
        const auto* kept =
            header ? header->layout.find_attribute(kTimecode, OIIO::TypeTimeCode) : nullptr;
        if (kept) std::copy_n(static_cast<const std::uint32_t*>(kept->data()), 2, words);
        words[0] = WordOfTimecode(TimecodeAfter(first, frame, rate), rate, words[0]);
        layout.attribute(kTimecode, OIIO::TypeTimeCode, words);
    }
    if (!layout.find_attribute(kPosition)) return;
    if (!firstPosition) {
        const Header* first = HeaderOf(MadeOf(0).earlier);
        firstPosition = first ? first->layout.get_int_attribute(kPosition) : 0;
    }
    layout.attribute(kPosition, *firstPosition + static_cast<int>(frame));
}

void SourceHeaders::Complete(std::int64_t frame, OIIO::ImageSpec& layout) {
    const Header* header = HeaderOf(MadeOf(frame).earlier);
    if (header) {
        const bool same = header->format == format;
        for (const OIIO::ParamValue& attribute : header->layout.extra_attribs) {
            const std::string key = InSmallLetters(attribute.name().string());
            if (!(same ? StaysInFormat(key) : GoesToOtherFormat(key))) continue;
            layout.attribute(attribute.name(), attribute.type(), attribute.data());
        }
        // Of a source that this program made it tells nothing of the new picture.
        if (ParseStamp(layout.get_string_attribute("Software"))) {
            layout.erase_attribute("Software");
        }
        // Those that lose something, or take other samples, are not worth it in a TIFF.
        const std::string compression = layout.get_string_attribute("compression");
        if (format == "tiff" && (compression == "jpeg" || compression.starts_with("ccitt"))) {
            layout.erase_attribute("compression");
        }
        NameDwaLevel(layout);
        // Where a picture without windows of its own lies: the header only says so.
        const OIIO::ImageSpec& old = header->layout;
        if (same && format != "openexr" && old.width == layout.width &&
            old.height == layout.height) {
            layout.x = old.x;
            layout.y = old.y;
            layout.full_x = old.full_x;
            layout.full_y = old.full_y;
            layout.full_width = old.full_width;
            layout.full_height = old.full_height;
        }
    }
    CountOn(frame, header, layout);
}

std::optional<Window> SourceHeaders::StoredWindow(std::int64_t frame) {
    if (!settings.madeOf) return {};
    const SourceFrames frames = MadeOf(frame);
    std::optional<Window> stored;
    for (const std::int64_t source : {frames.later, frames.earlier}) {
        const Header* header = HeaderOf(source);
        if (!header || header->format != "openexr") return {};
        const OIIO::ImageSpec& old = header->layout;
        const Window window{old.x, old.y, old.width, old.height};
        stored = stored ? Union(*stored, window) : window;
    }
    return stored;
}

}  // namespace velorin
