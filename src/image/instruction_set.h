#pragma once

namespace velorin {

// The loops over pixels are built once for each of these and chosen at run time. Each gives the
// same bits; a later one computes more pixels at a time. On other processors than x86-64, and in a
// build with plain lanes, there is the baseline alone.
enum class InstructionSet { kBaseline, kV3, kV4 };
inline constexpr InstructionSet kAllInstructionSets[] = {InstructionSet::kBaseline,
                                                         InstructionSet::kV3, InstructionSet::kV4};

// "baseline", "x86-64-v3", "x86-64-v4".
const char* NameOf(InstructionSet set);

// Whether this build has the set and this processor and system run it.
bool IsAvailable(InstructionSet set);

// The set in use: until SetInstructionSet the best available one, or, where the environment
// variable VELORIN_INSTRUCTION_SET names one, the best up to that.
InstructionSet GetInstructionSet();

// Not while a job runs. Throws ZPErrBadArgument unless the set is available.
void SetInstructionSet(InstructionSet set);

}  // namespace velorin
