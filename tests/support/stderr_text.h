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

// What work() writes on the standard output.
template <typename Work>
std::string StdoutOf(Work&& work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

}  // namespace velorin
