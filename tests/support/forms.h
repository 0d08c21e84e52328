#pragma once

#include <gtest/gtest.h>

#include <string>

#include "image/instruction_set.h"
#include "image/parallel.h"
#include "image/zp_image.h"
#include "standalone/thread_pool.h"

namespace velorin {

// Calls work(pixelType, channels) for each of the twelve picture forms.
template <typename Work>
void ForEachPictureForm(Work&& work) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        for (int channels = 1; channels <= 4; ++channels) {
            SCOPED_TRACE("type " + std::to_string(type) + ", channels " + std::to_string(channels));
            work(type, channels);
        }
    }
}

// Calls work() with 1, 2, 3 and 8 threads.
template <typename Work>
void ForEachThreadCount(Work&& work) {
    for (int threads : {1, 2, 3, 8}) {
        SCOPED_TRACE("threads " + std::to_string(threads));
        UseThreads(threads);
        work();
    }
    UseThreads(1);
}

// Calls work() with each instruction set that this build has and this machine runs.
template <typename Work>
void ForEachInstructionSet(Work&& work) {
    const InstructionSet inUse = GetInstructionSet();
    for (InstructionSet set : kAllInstructionSets) {
        if (!IsAvailable(set)) continue;
        SCOPED_TRACE(NameOf(set));
        SetInstructionSet(set);
        work();
    }
    SetInstructionSet(inUse);
}

}  // namespace velorin
