#include "media/number_ranges.h"

namespace velorin {

std::string NumberRanges(const std::vector<std::int64_t>& numbers, std::size_t mostNamed) {
    std::string text;
    std::size_t named = 0;
    for (std::size_t i = 0; i < numbers.size();) {
        if (named++ == mostNamed) {
            return text + " and " + std::to_string(numbers.size() - i) + " more";
        }
        const std::size_t first = i;
        while (++i < numbers.size() && numbers[i] == numbers[i - 1] + 1) continue;
        if (!text.empty()) text += ", ";
        text += std::to_string(numbers[first]);
        if (i - first > 1) text.append("-").append(std::to_string(numbers[i - 1]));
    }
    return text;
}

}  // namespace velorin
