#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>

namespace fw::test {

/// A program that writes down how it was started.
class TestApplication {
public:
    /// What one start was like.
    struct Start {
        int processId = 0;
        int session = 0;
        std::string arguments;            ///< "[first][second]".
        std::string streams;              ///< Where its standard streams lead.
        std::string descriptors;          ///< All that are open, and one of the lister's own.
        std::uint64_t blockedSignals = 0; ///< Bit 0 is signal 1.
        std::uint64_t ignoredSignals = 0;
    };

    explicit TestApplication(const TemporaryFolder& folder);

    /// Makes the program at a path, with the folders to it.
    void makeAt(const std::string& path) const;
    /// As above, but one that waits until letGoOn().
    void makeWaitingAt(const std::string& path) const;
    void letGoOn() const;

    /// Waits until the program has run once more, and gives that.
    Start nextStart();
    /// Whether it has not been started since.
    bool isQuiet() const;

private:
    std::string record(int number) const;

    std::string folder_;
    int seen_ = 0;
};

} // namespace fw::test
