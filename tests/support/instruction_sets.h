#pragma once

#include <gtest/gtest.h>

#include "image/instruction_set.h"

namespace velorin {

// Calls work() with each set that this processor runs, and leaves the one there was.
template <typename Work>
void ForEachInstructionSet(Work&& work) {
    const InstructionSet before = GetInstructionSet();
    for (InstructionSet set : kAllInstructionSets) {
        if (!IsAvailable(set)) continue;
        SCOPED_TRACE(NameOf(set));
        SetInstructionSet(set);
        work();
    }
    SetInstructionSet(before);
}

}  // namespace velorin
