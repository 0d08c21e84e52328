#pragma once

#include <string>
#include <vector>

#include "cli/options.h"

namespace velorin {

// What options may be given for each of: so many things that come by an option of their own.
struct SpreadTarget {
    std::size_t count;
    const char* option;  // "--matte"
    const char* noun;    // "matte"
};

// One value serves all of them; otherwise each has its own. Throws UsageError for any other count.
template <typename Value>
void SpreadOver(std::vector<Value>& values, const SpreadTarget& target, const Value& whenNone,
                const std::string& option) {
    if (target.count == 0 && !values.empty()) throw UsageError(option + " needs " + target.option);
    if (values.empty()) values.assign(target.count, whenNone);
    if (values.size() == 1) values.assign(target.count, Value(values[0]));
    if (values.size() == target.count) return;
    const std::string noun = target.noun;
    throw UsageError(option + " is given " + std::to_string(values.size()) + " times for " +
                     std::to_string(target.count) + " " + noun + (target.count == 1 ? "" : "s") +
                     "; give one value for all " + noun + "s or one for each");
}

}  // namespace velorin
