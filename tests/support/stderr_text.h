#pragma once

#include <gtest/gtest.h>

#include <string>

namespace velorin {

// What work() writes on standard error.
template <typename Work>
std::string StderrOf(Work&& work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

}  // namespace velorin
