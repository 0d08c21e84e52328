#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velorin {

// What is wrong with a key as it was written. The text says what would be right.
class KeyError : public std::runtime_error {
  public:
    KeyError(std::string_view wrongKey, const std::string& text)
        : std::runtime_error(text), key(wrongKey) {}
    std::string key;
};

// One of `frame:value,frame:value`, and its two parts.
struct KeyText {
    std::string_view whole;
    std::string_view frame;
    std::string_view value;
};

// Blanks around a key do not count. Throws KeyError, with `advice`, for one without a colon.
std::vector<KeyText> SplitKeys(std::string_view text, const std::string& advice);

// Reads the frames of keys, one after the other: whole, from 0 to 2^31 - 2, in ascending order.
class KeyFrames {
  public:
    // Throws KeyError.
    std::int64_t Read(const KeyText& key);

  private:
    std::optional<std::int64_t> last;
    std::string lastKey;
};

}  // namespace velorin
