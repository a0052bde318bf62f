#include "platform/tools/toolPath.h"

#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace fw {
namespace {

class ToolPath : public testing::Test {
protected:
    ToolPath() : before_(setStandInTools({})) {}
    ~ToolPath() override { setStandInTools(before_); }

private:
    StandInTools before_;
};

TEST_F(ToolPath, OfAToolThatTheMachineHasElsewhereIsTheMachines) {
    ASSERT_EQ(::access("/usr/bin/chown", X_OK), 0);
    const bool isThere = ::access("/usr/sbin/chown", F_OK) == 0;
    EXPECT_EQ(toolPath("/usr/sbin/chown"), isThere ? "/usr/sbin/chown" : "/usr/bin/chown");
}

constexpr const char* kOwnTools[] = {"/usr/sbin/diskutil", "/usr/bin/ditto", "/usr/bin/xattr"};

std::string nameOf(const std::string& tool) {
    return std::filesystem::path(tool).filename().string();
}

/// Only for tools that the machine does not have.
std::string expectedWhereMissing(const std::string& tool, const std::string& expected) {
    return ::access(tool.c_str(), F_OK) == 0 ? tool : expected;
}

TEST_F(ToolPath, OfAToolThatTheMachineHasNotIsOurs) {
    const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe");
    for (const std::string tool : kOwnTools) {
        const auto ours = own.parent_path() / FW_TOOLS_FROM_PROGRAMS / nameOf(tool);
        EXPECT_EQ(toolPath(tool), expectedWhereMissing(tool, ours.string()));
        EXPECT_TRUE(isExecutableFile(toolPath(tool))) << tool;
    }
}

/// What a program says that lies in the folder "bin" of another.
std::string answerFrom(const std::filesystem::path& folder, const std::string& tool) {
    const auto probe = folder / "bin/probe";
    std::filesystem::create_directories(probe.parent_path());
    std::filesystem::copy_file(FW_TOOL_PATH_PROBE, probe,
                               std::filesystem::copy_options::overwrite_existing);
    const test::ProgramRun run = test::programRun(probe.string(), {tool});
    EXPECT_EQ(run.status, 0) << run.errors;
    return run.output;
}

TEST_F(ToolPath, IsFoundFromWhereTheProgramLies) {
    const test::TemporaryFolder folder;
    const auto tools = folder.path() / "bin" / FW_TOOLS_FROM_PROGRAMS;
    std::filesystem::create_directories(folder.path() / "bin");
    std::filesystem::create_directories(tools);
    for (const std::string tool : kOwnTools) {
        const std::string ours = (tools / nameOf(tool)).string();
        std::ofstream(ours) << "#!/bin/sh\n";
        EXPECT_EQ(answerFrom(folder.path(), tool), expectedWhereMissing(tool, ours));
    }
}

TEST_F(ToolPath, OfAToolThatIsNowhereStaysAsItIs) {
    const test::TemporaryFolder folder;
    for (const std::string tool : kOwnTools) {
        const std::string installed = std::string(FW_INSTALLED_TOOLS "/").append(nameOf(tool));
        const bool isInstalled = ::access(installed.c_str(), F_OK) == 0;
        EXPECT_EQ(answerFrom(folder.path(), tool),
                  expectedWhereMissing(tool, isInstalled ? installed : tool));
    }
}

TEST_F(ToolPath, OfEveryOtherToolStaysAsItIs) {
    for (const char* path : {"/bin/sh", "/nonexistent/tool", "chown", "", "/usr/sbin/chown/",
                             "/usr/sbin/chown2", "/usr/bin/chown"}) {
        EXPECT_EQ(toolPath(path), path);
    }
}

TEST_F(ToolPath, OfAToolWithAZeroByteStaysAsItIs) {
    const std::string path("/usr/sbin/chown\0x", 17);
    EXPECT_EQ(toolPath(path), path);
}

TEST_F(ToolPath, OfAToolWithAStandInIsTheStandIn) {
    EXPECT_TRUE(setStandInTools({{"/bin/sh", "/my/sh"}, {"/usr/sbin/chown", "/my/chown"}}).empty());
    EXPECT_EQ(toolPath("/bin/sh"), "/my/sh");
    EXPECT_EQ(toolPath("/usr/sbin/chown"), "/my/chown");
    EXPECT_EQ(toolPath("/bin/cat"), "/bin/cat");
    EXPECT_EQ(setStandInTools({}).size(), 2U);
    EXPECT_EQ(toolPath("/bin/sh"), "/bin/sh");
}

TEST_F(ToolPath, CanBeAskedWhileStandInsChange) {
    std::jthread asking([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            EXPECT_THAT(toolPath("/bin/sh"), testing::AnyOf("/bin/sh", "/my/sh"));
        }
    });
    for (int i = 0; i < 500; ++i) {
        setStandInTools({{"/bin/sh", "/my/sh"}});
        setStandInTools({});
    }
}

class ExecutableFile : public testing::Test {
protected:
    std::string made(const std::string& name, mode_t mode) const {
        const std::string path = folder.file(name);
        std::ofstream(path) << "#!/bin/sh\n";
        ::chmod(path.c_str(), mode);
        return path;
    }

    test::TemporaryFolder folder;
};

TEST_F(ExecutableFile, IsAFileThatMayRun) {
    EXPECT_TRUE(isExecutableFile(made("tool", 0755)));
    EXPECT_TRUE(isExecutableFile(made("own", 0700)));
}

TEST_F(ExecutableFile, IsNoFileThatMayNot) {
    EXPECT_FALSE(isExecutableFile(made("text", 0644)));
    EXPECT_FALSE(isExecutableFile(folder.file("missing")));
    EXPECT_FALSE(isExecutableFile(""));
}

TEST_F(ExecutableFile, IsNoFolderAndNoBundle) {
    std::filesystem::create_directories(folder.file("Tool.app/Contents/MacOS"));
    EXPECT_FALSE(isExecutableFile(folder.path().string()));
    EXPECT_FALSE(isExecutableFile(folder.file("Tool.app")));
}

TEST_F(ExecutableFile, IsWhatALinkLeadsTo) {
    std::filesystem::create_symlink(made("tool", 0755), folder.file("link"));
    std::filesystem::create_symlink(made("text", 0644), folder.file("textLink"));
    std::filesystem::create_symlink(folder.file("missing"), folder.file("deadLink"));
    EXPECT_TRUE(isExecutableFile(folder.file("link")));
    EXPECT_FALSE(isExecutableFile(folder.file("textLink")));
    EXPECT_FALSE(isExecutableFile(folder.file("deadLink")));
}

TEST_F(ExecutableFile, IsNoneWhoseNameEndsAtAZeroByte) {
    std::string path = made("tool", 0755);
    path += '\0';
    EXPECT_FALSE(isExecutableFile(path));
    path += "other";
    EXPECT_FALSE(isExecutableFile(path));
}

} // namespace
} // namespace fw
