#include "cli/info.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/progress_line.h"
#include "cli/sound_options.h"
#include "cli/time_law.h"
#include "cli/uneven_times.h"
#include "media/clip.h"
#include "media/media_facts.h"
#include "media/number_ranges.h"
#include "media/picture_times.h"
#include "media/piped_frames.h"
#include "media/timecode.h"

namespace velorin {

namespace {

constexpr int kNoMatrix = 2;  // as ITU-T H.273 numbers them

// One thing that is known of a clip.
struct Fact {
    const char* title;
    const char* key;
    std::string json;  // a value
    std::string text;  // empty: the same, for a number
};

std::string Digits(const char* format, double number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

double Quotient(const Rational& ratio) {
    return static_cast<double>(ratio.numerator) / static_cast<double>(ratio.denominator);
}

std::string WindowText(const Window& window) {
    return std::to_string(window.x) + "," + std::to_string(window.y) + "," +
           std::to_string(window.width) + "x" + std::to_string(window.height);
}

std::string ChannelsText(const ClipInfo& clip) {
    constexpr const char* kNames[] = {"gray", "gray and alpha", "RGB", "RGB and alpha"};
    std::string text = kNames[clip.channels - 1];
    if (clip.channels % 2 == 0) text += clip.straightAlpha ? ", straight" : ", multiplied";
    return text;
}

std::string DepthText(const ClipInfo& clip) {
    const std::string word(ChoiceWord("--depth", static_cast<int>(clip.depth)));
    const bool isWhole = clip.depth == SampleDepth::kByte || clip.depth == SampleDepth::kWord;
    return clip.storedBits != 0 ? std::to_string(clip.storedBits) + " bits, worked on as " + word
                                : word + (isWhole ? " bits" : "");
}

std::string FieldsText(FieldOrder order) {
    switch (order) {
        case FieldOrder::kProgressive:
            return "progressive";
        case FieldOrder::kUpperFirst:
            return "upper";
        case FieldOrder::kLowerFirst:
            return "lower";
        default:
            return "unknown";
    }
}

std::string KindText(const ClipInfo& clip) {
    if (clip.pipe) return *clip.pipe == PipeFormat::kNut ? "nut stream" : "y4m stream";
    return clip.isMovie ? "movie" : "sequence";
}

ClipInfo InfoOf(const std::string& name) {
    if (name != kPipeName) return OpenClip(name, true)->Info();
    return PipedFrames([] { return false; }).Info();
}

Fact InWords(const char* title, const char* key, const std::string& words) {
    return {title, key, JsonString(words), words};
}

void AddRate(std::vector<Fact>& facts, const ClipInfo& clip) {
    if (clip.rate.numerator <= 0) return;
    const double rate = Quotient(clip.rate);
    facts.push_back(InWords("rate", "rate", RatioText(clip.rate)));
    facts.push_back({"frames a second", "framesPerSecond", Digits("%.9g", rate), ""});
    if (clip.frames == kFramesUnknown) return;
    const double seconds =
        clip.times ? SecondsOf(*clip.times) + 1.0 / rate : static_cast<double>(clip.frames) / rate;
    facts.push_back({"seconds", "seconds", Digits("%.3f", seconds), ""});
    if (clip.times) facts.push_back(InWords("times", "times", UnevenText(clip)));
}

std::string JsonList(const std::vector<std::string>& values) {
    std::string text;
    for (const std::string& value : values) text += (text.empty() ? "" : ", ") + value;
    return "[" + text + "]";
}

void AddMissing(std::vector<Fact>& facts, const ClipInfo& clip) {
    if (clip.missing.empty()) return;
    std::vector<std::int64_t> numbers = clip.missing;
    std::vector<std::string> texts;
    for (std::int64_t& number : numbers) {
        number += clip.firstNumber;
        texts.push_back(std::to_string(number));
    }
    facts.push_back({"missing numbers", "missingNumbers", JsonList(texts), NumberRanges(numbers)});
}

void AddNames(std::vector<Fact>& facts, const char* title, const char* key,
              const std::vector<std::string>& names) {
    if (names.empty()) return;
    std::vector<std::string> quoted;
    for (const std::string& name : names) quoted.push_back(JsonString(name));
    facts.push_back({title, key, JsonList(quoted), ListOf(names)});
}

void AddColours(std::vector<Fact>& facts, const ClipInfo& clip) {
    if (clip.isMovie) {
        facts.push_back(InWords("primaries", "primaries", PrimariesName(clip.primaries)));
        facts.push_back(InWords("transfer", "transfer", TransferName(clip.transfer)));
    }
    if (clip.isMovie && clip.matrix != kNoMatrix) {
        facts.push_back(InWords("matrix", "matrix", MatrixName(clip.matrix)));
        facts.push_back(InWords("range", "range", clip.fullRange ? "full" : "limited"));
    }
    facts.push_back({"scene-linear", "sceneLinear", clip.sceneLinear ? "true" : "false",
                     clip.sceneLinear ? "yes" : "no"});
}

void AddSound(std::vector<Fact>& facts, const ClipInfo& clip) {
    if (!clip.isMovie) return;
    if (!clip.sound) return facts.push_back({"sound", "sound", "null", "none"});
    const SoundInfo& sound = *clip.sound;
    facts.push_back(
        {"sound", "sound",
         "{\"codec\": " + JsonString(sound.codec) + ", \"rate\": " + std::to_string(sound.rate) +
             ", \"channels\": " + std::to_string(sound.channels) + ", \"layout\": " +
             JsonString(sound.layout) + ", \"bits\": " + std::to_string(sound.bits) +
             ", \"float\": " + (sound.isFloat ? "true" : "false") + ", \"language\": " +
             JsonString(sound.language) + ", \"stream\": " + std::to_string(sound.stream) +
             ", \"furtherStreams\": " + std::to_string(sound.leftOut) + "}",
         SoundName(sound)});
}

std::vector<Fact> FactsOf(const ClipInfo& clip) {
    const bool isKnown = clip.frames != kFramesUnknown;
    std::vector<Fact> facts = {
        InWords("clip", "name", clip.name),
        InWords("kind", "kind", KindText(clip)),
        {"frames", "frames", isKnown ? std::to_string(clip.frames) : "null",
         isKnown ? "" : "as many as come"},
        {"width", "width", std::to_string(clip.width), ""},
        {"height", "height", std::to_string(clip.height), ""},
    };
    AddRate(facts, clip);
    if (!clip.isMovie) {
        facts.push_back({"first number", "firstNumber", std::to_string(clip.firstNumber), ""});
    }
    AddMissing(facts, clip);
    if (clip.timecode)
        facts.push_back(InWords("timecode", "timecode", TimecodeText(*clip.timecode)));
    facts.push_back({"channels", "channels", std::to_string(clip.channels), ChannelsText(clip)});
    AddNames(facts, "channel names", "channelNames", clip.channelNames);
    AddNames(facts, "left out", "channelsLeftOut", clip.channelsLeftOut);
    facts.push_back(InWords("depth", "depth", DepthText(clip)));
    if (clip.isMovie) facts.push_back(InWords("pixel format", "pixelFormat", clip.pixelFormat));
    if (clip.pixelAspect.numerator > 0) {
        facts.push_back(InWords("pixel aspect", "pixelAspect", RatioText(clip.pixelAspect)));
    }
    if (clip.isMovie) {
        facts.push_back(InWords("fields", "fields", FieldsText(clip.fieldOrder)));
    } else {
        facts.push_back(InWords("picture", "window", WindowText(clip.window)));
        facts.push_back(InWords("display window", "displayWindow", WindowText(clip.display)));
    }
    AddColours(facts, clip);
    AddSound(facts, clip);
    return facts;
}

void PrintTable(const std::vector<Fact>& facts) {
    std::size_t width = 0;
    for (const Fact& fact : facts) width = std::max(width, std::string(fact.title).size());
    for (const Fact& fact : facts) {
        std::string title = fact.title;
        title.resize(width + 2, ' ');
        std::puts((title + (fact.text.empty() ? fact.json : fact.text)).c_str());
    }
}

void PrintJson(const std::vector<Fact>& facts) {
    std::puts("{");
    for (std::size_t i = 0; i < facts.size(); ++i) {
        std::printf("  \"%s\": %s%s\n", facts[i].key, facts[i].json.c_str(),
                    i + 1 < facts.size() ? "," : "");
    }
    std::puts("}");
}

}  // namespace

int Info(const Options& options) {
    const std::vector<Fact> facts = FactsOf(InfoOf(options.input));
    if (options.json) {
        PrintJson(facts);
    } else {
        PrintTable(facts);
    }
    return kExitDone;
}

}  // namespace velorin
