#include "image/instruction_set.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "image/err.h"

#ifdef VELORIN_X86_64_SETS
#include <cpuid.h>
#endif

namespace velorin {

namespace {

#ifdef VELORIN_X86_64_SETS

// Of the sets' instructions those that the compilers' own question does not know by name.
bool HasMoveAndCount() {
    constexpr unsigned kMovbe = 1u << 22, kHalfFloats = 1u << 29, kLzcnt = 1u << 5;
    constexpr unsigned kBoth = kMovbe | kHalfFloats;
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d) || (c & kBoth) != kBoth) return false;
    return __get_cpuid(0x80000001, &a, &b, &c, &d) && (c & kLzcnt) != 0;
}

// These ask the system, too: whether it keeps the wide registers.
bool RunsV3() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
           __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && HasMoveAndCount();
}
bool RunsV4() {
    return RunsV3() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}

#else

bool RunsV3() {
    return false;
}
bool RunsV4() {
    return false;
}

#endif

InstructionSet FindBestSet() {
    const char* limit = std::getenv("VELORIN_INSTRUCTION_SET");
    for (InstructionSet set : kAllInstructionSets) {
        if (limit && std::string_view(limit) == NameOf(set) && IsAvailable(set)) return set;
    }
    return *std::find_if(std::rbegin(kAllInstructionSets), std::rend(kAllInstructionSets),
                         IsAvailable);
}

InstructionSet& CurrentSet() {
    static InstructionSet current = FindBestSet();
    return current;
}

}  // namespace

const char* NameOf(InstructionSet set) {
    switch (set) {
        case InstructionSet::kV4:
            return "x86-64-v4";
        case InstructionSet::kV3:
            return "x86-64-v3";
        default:
            return "baseline";
    }
}

bool IsAvailable(InstructionSet set) {
    switch (set) {
        case InstructionSet::kV4:
            return RunsV4();
        case InstructionSet::kV3:
            return RunsV3();
        default:
            return true;
    }
}

InstructionSet GetInstructionSet() {
    return CurrentSet();
}

void SetInstructionSet(InstructionSet set) {
    if (!IsAvailable(set)) throw ZPErrBadArgument;
    CurrentSet() = set;
}

}  // namespace velorin
