#pragma once

#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace fw::test {

/// What has been logged (FWLog) since this object was made. The test program that links it has its
/// log in a home of its own, which is there before and after all tests.
class SuiteLog {
public:
    SuiteLog();
    /// Without their dates.
    std::vector<std::string> texts() const;

private:
    std::size_t before_;
};

/// What a piece of code writes to standard output, its children's included.
template <typename Code>
std::string printedBy(Code code) {
    testing::internal::CaptureStdout();
    code();
    return testing::internal::GetCapturedStdout();
}

} // namespace fw::test
