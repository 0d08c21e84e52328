#include "cli/key_list.h"

#include <charconv>
#include <limits>

#include "media/guide_source.h"

namespace velorin {

namespace {

// A frame more and its number still fits.
constexpr std::int64_t kGreatestFrame = std::numeric_limits<std::int32_t>::max() - 1;

std::optional<std::int64_t> ReadFrame(std::string_view text) {
    std::int64_t frame = 0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, frame);
    const bool whole = failure == std::errc() && rest == end;
    if (!whole || frame < 0 || frame > kGreatestFrame) return std::nullopt;
    return frame;
}

}  // namespace

std::vector<KeyText> SplitKeys(std::string_view text, const std::string& advice) {
    std::vector<KeyText> keys;
    while (true) {
        const std::string_view part = text.substr(0, text.find(','));
        const std::string_view key = Trimmed(part);
        const std::size_t colon = key.find(':');
        if (colon == std::string_view::npos) throw KeyError(key, advice);
        keys.push_back({key, key.substr(0, colon), key.substr(colon + 1)});
        if (part.size() == text.size()) return keys;
        text.remove_prefix(part.size() + 1);
    }
}

std::int64_t KeyFrames::Read(const KeyText& key) {
    const std::optional<std::int64_t> frame = ReadFrame(key.frame);
    if (!frame) {
        throw KeyError(key.whole,
                       "give a whole frame number from 0 to " + std::to_string(kGreatestFrame));
    }
    if (last && *frame == *last) {
        throw KeyError(key.whole,
                       "frame " + std::to_string(*frame) + " has a key already, " + lastKey);
    }
    if (last && *frame < *last) {
        throw KeyError(key.whole, "comes after " + lastKey + "; give keys in ascending order");
    }
    last = frame;
    lastKey = key.whole;
    return *frame;
}

}  // namespace velorin
