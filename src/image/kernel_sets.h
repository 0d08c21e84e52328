#pragma once

#include "image/instruction_set.h"

// A kernel is a loop over rows that is built for every instruction set. Its source,
// FOLDER/NAME_kernel.cpp, stands in namespace velorin::VELORIN_KERNEL_SET, which the build names
// anew for each set; its header declares it by
//
//   VELORIN_DECLARE_KERNELS(
//       void SolveRows(ZPImage& flow, int firstRow, int lastRow);)
//
// and whoever runs it asks once for a job or a line, and never within one:
//
//   const auto solveRows = VELORIN_KERNEL(SolveRows);
//
// The trap: what a kernel calls and does not inline exists once in the program, from whichever set
// the linker met first. Inline functions of common headers that kernels use are therefore small or
// forced inline, and scripts/check_kernels.sh looks into the objects for those that are not.
#ifdef VELORIN_X86_64_SETS

#define VELORIN_DECLARE_KERNELS(...) \
    namespace baseline {             \
    __VA_ARGS__                      \
    }                                \
    namespace x86_64_v3 {            \
    __VA_ARGS__                      \
    }                                \
    namespace x86_64_v4 {            \
    __VA_ARGS__                      \
    }
#define VELORIN_KERNEL(Name) \
    ::velorin::ChooseKernel(baseline::Name, x86_64_v3::Name, x86_64_v4::Name)

#else

#define VELORIN_DECLARE_KERNELS(...) \
    namespace baseline {             \
    __VA_ARGS__                      \
    }
#define VELORIN_KERNEL(Name) ::velorin::ChooseKernel(baseline::Name, baseline::Name, baseline::Name)

#endif

namespace velorin {

template <typename Kernel>
Kernel* ChooseKernel(Kernel& baseline, Kernel& v3, Kernel& v4) {
    switch (GetInstructionSet()) {
        case InstructionSet::kV4:
            return &v4;
        case InstructionSet::kV3:
            return &v3;
        default:
            return &baseline;
    }
}

}  // namespace velorin
