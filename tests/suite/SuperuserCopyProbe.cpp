// A copy with progress to a disk that is too small, on a copy of the machine.
#include "support/FWFileManager.h"
#include "tests/suite/FileTest.h"
#include "tests/suite/MemoryDisk.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;

class SuperuserCopyProbe : public FileTest {
protected:
    void SetUp() override {
        ASSERT_NE(std::getenv("FERNWICK_OWN_ROOT"), nullptr) << "only on a copy of the machine";
    }
    /// How often that was told to the system log.
    std::ptrdiff_t timesTold(const std::string& message) const {
        return std::ranges::count(systemLogged(), message);
    }
};

TEST_F(SuperuserCopyProbe, ADestinationThatFillsItsDiskIsToldForEachChunkAndTheCopyGoesOn) {
    const MemoryDisk disk(path("disk"), "256k"); // Four chunks.
    const std::string bytes = someBytes(6 * kChunk + 100);
    std::vector<std::string> calls;
    FileCopyDelegate delegate;
    delegate.fileCopyVerificationFailed = [&](const FileCopySettings& settings,
                                              const std::string& file) {
        calls.push_back("failed " + file + " " + settings.destChecksum.value_or("-"));
    };
    delegate.fileCopyFinished = [&](const FileCopySettings&) {
        calls.emplace_back("finished");
    };
    EXPECT_TRUE(FWFileManager::copyFileWithProgress(made("a", bytes),
                                                    std::vector{path("disk/b"), path("c")},
                                                    FileVerification::kSha1, delegate, {}, {}));
    EXPECT_EQ(timesTold("Error writing file " + path("disk/b") + ": 1"), 3);
    EXPECT_EQ(timesTold("Error: copied file size does not match original source " + path("a")), 0);
    EXPECT_EQ(contents("disk/b"), bytes.substr(0, 4 * kChunk));
    EXPECT_EQ(contents("c"), bytes);
    EXPECT_EQ(contents("a"), bytes);
    EXPECT_THAT(calls, ElementsAre("failed " + path("disk/b") + " " +
                                       FWFileManager::sha1HashForFile(path("disk/b")),
                                   "finished"));
}

TEST_F(SuperuserCopyProbe, WithoutVerificationAFullDiskIsToldAndTheCopySucceeds) {
    const MemoryDisk disk(path("disk"), "64k");
    const std::string bytes = someBytes(2 * kChunk);
    EXPECT_TRUE(FWFileManager::copyFileWithProgress(made("a", bytes), path("disk/b"), {}, {}, {}));
    EXPECT_EQ(timesTold("Error writing file " + path("disk/b") + ": 1"), 1);
    EXPECT_EQ(contents("disk/b"), bytes.substr(0, kChunk));
}

} // namespace
} // namespace fw
