#include "cli/nearest_name.h"

#include <algorithm>
#include <array>

namespace velorin {

namespace {

constexpr std::size_t kLongest = 60;

// Both of `kLongest` letters at most.
std::size_t EditsBetween(std::string_view from, std::string_view to) {
    using Row = std::array<std::size_t, kLongest + 1>;
    Row before{}, last{}, row{};  // of the matrix over the beginnings of both
    for (std::size_t j = 0; j <= to.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        before = last;
        last = row;
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t exchange = from[i - 1] == to[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + exchange});
            const bool swapped =
                i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
    }
    return row[to.size()];
}

}  // namespace

std::string_view NearestName(std::string_view name, const std::vector<std::string_view>& names) {
    if (name.empty() || name.size() > kLongest) return {};
    // A third of the letters may be wrong, and one of a short name.
    std::size_t fewest = std::max<std::size_t>(name.size() / 3, 1) + 1;
    std::string_view nearest;
    for (const std::string_view candidate : names) {
        if (candidate.size() > kLongest) continue;
        const std::size_t edits = EditsBetween(name, candidate);
        if (edits >= fewest) continue;
        fewest = edits;
        nearest = candidate;
    }
    return nearest;
}

}  // namespace velorin
