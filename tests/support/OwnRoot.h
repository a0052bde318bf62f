#pragma once

#include "tests/support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace fw::test {

/// Runs programs as root on a copy of the machine's root file system that goes with this object:
/// what they write there lands in memory. They have processes and terminals of their own, and the
/// devices that every program needs. Needs root, name spaces and overlay mounts.
class OwnRoot {
public:
    /// Why it cannot be had here; empty when it can.
    std::string obstacle() const;

    struct Outcome {
        int status = -1; ///< Of the script.
        std::string output;
    };
    /// Runs a shell script (sh -e) there, with $PROGRAMS as the folder of `programs`, files that
    /// are put at hand. Standard error goes to the output too. All that it started ends with it.
    Outcome run(const std::string& script, const std::vector<std::string>& programs) const;

private:
    TemporaryFolder folder_;
};

} // namespace fw::test
