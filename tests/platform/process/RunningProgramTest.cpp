#include "platform/process/RunningProgram.h"

#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fw {
namespace {

class RunningProgramTest : public testing::Test {
protected:
    /// A copy of the probe at a path of the test's choice.
    std::string copied(const std::string& name) const {
        const std::string path = folder.file(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::filesystem::copy_file(RUNNING_PROGRAM_PROBE, path);
        return path;
    }

    static std::string answerOf(const std::string& program,
                                const std::vector<std::string>& arguments) {
        const test::ProgramRun run = test::programRun(program, arguments);
        EXPECT_EQ(run.status, 0) << run.errors;
        return run.output;
    }

    test::TemporaryFolder folder;
};

TEST_F(RunningProgramTest, IsTheFileThatThisProcessRuns) {
    EXPECT_EQ(runningExecutable(), std::filesystem::canonical("/proc/self/exe").string());
}

TEST_F(RunningProgramTest, IsAnAbsolutePathInTheBytesOfTheFileSystem) {
    const std::string path = copied("Caf\xC3\xA9 \xFF %s 'x'");
    EXPECT_EQ(answerOf(path, {}), path);
}

TEST_F(RunningProgramTest, LeadsThroughLinksToTheFile) {
    const std::string path = copied("program");
    const std::string link = folder.file("link");
    std::filesystem::create_symlink(path, link);
    EXPECT_EQ(answerOf(link, {}), path);
}

TEST_F(RunningProgramTest, IsWholeHoweverLong) {
    const std::string part(250, 'p');
    std::string name = part;
    for (int i = 0; i < 5; ++i) {
        name.append("/").append(part);
    }
    const std::string path = copied(name);
    ASSERT_GT(path.size(), 1500U);
    EXPECT_EQ(answerOf(path, {}), path);
}

TEST_F(RunningProgramTest, StaysThePathOfAFileThatHasBeenRemoved) {
    const std::string path = copied("program");
    EXPECT_EQ(answerOf(path, {"--gone"}), path);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RunningProgramTest, KeepsANameThatReadsLikeThatOfARemovedFile) {
    const std::string path = copied("program (deleted)");
    EXPECT_EQ(answerOf(path, {}), path);
    EXPECT_EQ(answerOf(path, {"--gone"}), path);
}

} // namespace
} // namespace fw
