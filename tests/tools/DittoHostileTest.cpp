#include "tests/support/FileText.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace fw {
namespace {

using namespace test;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

/// Archives that another program made, with intent or by accident.
class DittoHostileTest : public testing::Test {
protected:
    DittoHostileTest() {
        fs::create_directory(path("outside"));
        writeText(path("outside/file"), "untouched");
    }
    ~DittoHostileTest() override {
        EXPECT_EQ(readText(path("outside/file")), "untouched");
        EXPECT_EQ(std::distance(fs::directory_iterator(path("outside")), {}), 1);
    }

    std::string path(const std::string& name) const { return folder_.file(name); }

    /// An archive whose entries are lines of Python: file(name, text), link(name, target),
    /// entry(name, text, mode); F is the test's folder.
    void makeArchive(const std::string& entries) const {
        printedByPython("import sys, zipfile\n"
                        "F = sys.argv[1]\n"
                        "zip = zipfile.ZipFile(F + '/a.zip', 'w')\n"
                        "def entry(name, text, mode):\n"
                        "    info = zipfile.ZipInfo(name)\n"
                        "    info.create_system = 3\n"
                        "    info.external_attr = mode << 16\n"
                        "    zip.writestr(info, text)\n"
                        "def file(name, text): entry(name, text, 0o100644)\n"
                        "def link(name, target): entry(name, target, 0o120777)\n" +
                            entries + "\nzip.close()\n",
                        {folder_.path().string()});
    }
    ProgramRun unpack(const std::string& folder = "out") const {
        return programRun(FW_TOOL_DITTO, {"-xk", path("a.zip"), path(folder)});
    }
    void expectRefused(const std::string& name) const {
        EXPECT_EQ(unpack(), (ProgramRun{1, "",
                                        "ditto: " + path("a.zip") + ": refused: \"" + name +
                                            "\" leads out of the folder\n"}));
        expectNothingLeft();
    }
    void expectNothingLeft() const {
        EXPECT_FALSE(fs::exists(path("out")));
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 2)
            << "only the archive and the folder outside";
    }

private:
    TemporaryFolder folder_;
};

TEST_F(DittoHostileTest, AnAbsoluteNameIsRefused) {
    makeArchive("file('a', 'a')\nfile(F + '/outside/new', 'x')");
    expectRefused(path("outside/new"));
}

TEST_F(DittoHostileTest, ANameWithDotDotIsRefused) {
    for (const std::string name :
         {"../outside/new", "a/../../outside/new", "..", "a/..", "./../outside/file"}) {
        makeArchive("file('a1', 'a')\nfile('" + name + "', 'x')");
        expectRefused(name);
    }
}

TEST_F(DittoHostileTest, ABackslashIsNoWayOut) {
    makeArchive("file('..\\\\outside\\\\new', 'x')");
    expectRefused("../outside/new");
}

TEST_F(DittoHostileTest, ANameThroughALinkOfTheArchiveIsRefused) {
    makeArchive("link('way', '../outside')\nfile('way/new', 'x')");
    const ProgramRun run = unpack();
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors, HasSubstr("symlink"));
    expectNothingLeft();
}

TEST_F(DittoHostileTest, ANameThroughALinkToALinkIsRefused) {
    makeArchive("link('b', F + '/outside')\nlink('a', 'b')\nfile('a/sub/new', 'x')");
    EXPECT_EQ(unpack().status, 1);
    expectNothingLeft();
}

TEST_F(DittoHostileTest, ANameThroughALinkThatWasThereIsRefused) {
    fs::create_directory(path("out"));
    fs::create_directory_symlink(path("outside"), path("out/way"));
    makeArchive("file('way/new', 'x')");
    EXPECT_EQ(unpack().status, 1);
}

TEST_F(DittoHostileTest, ALinkIsReplacedNotWrittenThrough) {
    fs::create_directory(path("out"));
    fs::create_symlink(path("outside/file"), path("out/a"));
    makeArchive("file('a', 'new')\nlink('b', F + '/outside/file')\nfile('b', 'newer')");
    EXPECT_EQ(unpack().status, 0);
    EXPECT_EQ(readText(path("out/a")), "new");
    EXPECT_EQ(readText(path("out/b")), "newer");
}

TEST_F(DittoHostileTest, ALinkThatPointsOutsideIsKeptAsALink) {
    makeArchive("link('way', '../outside')");
    EXPECT_EQ(unpack().status, 0);
    EXPECT_EQ(fs::read_symlink(path("out/way")), "../outside");
}

TEST_F(DittoHostileTest, DevicesAndSocketsAreRefused) {
    for (const std::string mode : {"0o020644", "0o060644", "0o140644"}) {
        makeArchive("entry('odd', '', " + mode + ")");
        EXPECT_EQ(unpack().errors,
                  "ditto: " + path("a.zip") + ": refused: \"odd\" is no file, folder or link\n")
            << mode;
        expectNothingLeft();
    }
}

TEST_F(DittoHostileTest, APipeComesAsAFile) {
    makeArchive("entry('odd', 'text', 0o010644)");
    EXPECT_EQ(unpack().status, 0);
    EXPECT_TRUE(fs::is_regular_file(path("out/odd")));
    EXPECT_EQ(readText(path("out/odd")), "text");
}

TEST_F(DittoHostileTest, RightsOfOthersAreNotLent) {
    makeArchive("entry('tool', '', 0o107755)");
    EXPECT_EQ(unpack().status, 0);
    EXPECT_EQ(fs::status(path("out/tool")).permissions(), fs::perms(0755));
}

TEST_F(DittoHostileTest, AFolderThatNobodyMayEnterIsRemovedAfterAFailure) {
    makeArchive("entry('shut/', '', 0o040000)\nfile('shut/a', 'a')\nfile('../b', 'b')");
    expectRefused("../b");
}

TEST_F(DittoHostileTest, ADamagedFileLeavesNothing) {
    makeArchive("file('a', 1000 * 'a')\nfile('b', 1000 * 'b')");
    std::string bytes = readText(path("a.zip"));
    const std::size_t contents = bytes.find("bbbb");
    ASSERT_NE(contents, std::string::npos);
    bytes[contents + 500] = 'x';
    writeText(path("a.zip"), bytes);
    const ProgramRun run = unpack();
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors, StartsWith("ditto: " + path("a.zip") + "/b: "));
    EXPECT_THAT(run.errors, HasSubstr("CRC"));
    expectNothingLeft();
}

TEST_F(DittoHostileTest, AFileWithoutTheBytesThatTheArchiveStatesIsNotMadeUpOfZeros) {
    makeArchive("file('a', 'aaaa')\nfile('b', '')");
    std::string bytes = readText(path("a.zip"));
    constexpr std::size_t kSizeInDirectory = 24;
    const std::size_t lastOfDirectory = bytes.rfind("PK\1\2");
    ASSERT_NE(lastOfDirectory, std::string::npos);
    bytes[lastOfDirectory + kSizeInDirectory + 2] = '\x10'; // 1 MiB.
    writeText(path("a.zip"), bytes);
    EXPECT_EQ(unpack(),
              (ProgramRun{1, "",
                          "ditto: " + path("a.zip") + "/b: is shorter than the archive states\n"}));
    expectNothingLeft();
}

TEST_F(DittoHostileTest, AnArchiveCutAnywhereLeavesNothing) {
    makeArchive("file('a', 'aaaa')\nfile('sub/b', 300 * 'b')");
    const std::string bytes = readText(path("a.zip"));
    for (std::size_t length = 0; length < bytes.size(); length += 29) {
        writeText(path("a.zip"), bytes.substr(0, length));
        EXPECT_EQ(unpack().status, 1) << length;
        expectNothingLeft();
    }
}

TEST_F(DittoHostileTest, AnotherFileIsNoArchive) {
    for (const std::string text : {"", "text", "PK", "PK\x03\x04 and nothing more"}) {
        writeText(path("a.zip"), text);
        EXPECT_EQ(unpack().errors, "ditto: " + path("a.zip") + ": Unrecognized archive format\n");
        expectNothingLeft();
    }
}

TEST_F(DittoHostileTest, WhatIsNoFileIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo(path("a.zip").c_str(), 0600), 0);
    EXPECT_EQ(unpack().errors, "ditto: " + path("a.zip") + ": Invalid argument\n");
    fs::remove(path("a.zip"));
    fs::create_directory(path("a.zip"));
    EXPECT_EQ(unpack().errors, "ditto: " + path("a.zip") + ": Is a directory\n");
    fs::remove(path("a.zip"));
    EXPECT_EQ(unpack().errors, "ditto: " + path("a.zip") + ": No such file or directory\n");
    EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(DittoHostileTest, ANameThatIsMarkedAsTextAndIsNoneIsRefused) {
    makeArchive("file('caf\\u00e9', 'x')");
    std::string bytes = readText(path("a.zip"));
    for (std::size_t at = bytes.find("\xC3\xA9"); at != std::string::npos;
         at = bytes.find("\xC3\xA9")) {
        bytes.replace(at, 2, "\xE9x");
    }
    writeText(path("a.zip"), bytes);
    const ProgramRun run = unpack();
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors, StartsWith("ditto: " + path("a.zip") + ": Pathname cannot"));
    expectNothingLeft();
}

} // namespace
} // namespace fw
