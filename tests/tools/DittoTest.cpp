#include "tests/support/FileText.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/SmallFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutPrivileges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <random>

namespace fw {
namespace {

using namespace test;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr const char* kUsage =
    "ditto: usage: ditto -ck [--keepParent] SOURCE ARCHIVE | -xk ARCHIVE FOLDER\n";

const ProgramRun kQuietly{0, "", ""};

ProgramRun ditto(const std::vector<std::string>& arguments) {
    return programRun(FW_TOOL_DITTO, arguments);
}

/// The names in an archive as another reader sees them, each a line.
std::string namesIn(const std::string& archive) {
    return printedByPython("import sys, zipfile\n"
                           "for name in sorted(zipfile.ZipFile(sys.argv[1]).namelist()):\n"
                           "    print(name)\n",
                           {archive});
}

/// Kind, mode, date in seconds, and contents or target of everything in a folder, by its name.
std::map<std::string, std::string> tree(const fs::path& folder) {
    std::map<std::string, std::string> all;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = entry.path().string();
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0);
        std::string facts = std::to_string(status.st_mode);
        facts.append(" ").append(std::to_string(status.st_mtim.tv_sec)).append(" ");
        facts += S_ISLNK(status.st_mode)   ? fs::read_symlink(entry.path()).string()
                 : S_ISREG(status.st_mode) ? readText(path)
                                           : std::string();
        all[path.substr(folder.string().size() + 1)] = facts;
    }
    return all;
}

class DittoTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.file(name); }
    std::string made(const std::string& name, const std::string& text) const {
        fs::create_directories(fs::path(path(name)).parent_path());
        writeText(path(name), text);
        return path(name);
    }
    static void setDate(const std::string& path, std::int64_t seconds) {
        const timespec times[] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    /// Packs the folder "in" and unpacks it to "out".
    void packAndUnpack() const {
        EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
        EXPECT_EQ(ditto({"-xk", path("a.zip"), path("out")}), kQuietly);
    }
    /// Names of what is in the test's folder.
    std::vector<std::string> left() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_.path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    TemporaryFolder folder_;
};

// There and back

TEST_F(DittoTest, AFolderComesBackWithContentsModesDatesAndLinks) {
    made("in/clip.mov", std::string(300'000, 'm'));
    made("in/notes.txt", "notes");
    made("in/sub/deep/run.sh", "#!/bin/sh\n");
    made("in/.hidden", "");
    fs::create_directory(path("in/empty"));
    fs::create_symlink("notes.txt", path("in/link"));
    fs::create_symlink("/nowhere/at all", path("in/dangling"));
    fs::create_symlink("../..", path("in/sub/up"));
    fs::permissions(path("in/notes.txt"), fs::perms(0640));
    fs::permissions(path("in/sub/deep/run.sh"), fs::perms(0755));
    fs::permissions(path("in/sub"), fs::perms(0700));
    setDate(path("in/clip.mov"), 1'000'000'001);
    setDate(path("in/link"), 1'100'000'001);
    setDate(path("in/empty"), 1'200'000'001);
    setDate(path("in/sub/deep"), 1'300'000'001);
    packAndUnpack();
    EXPECT_EQ(tree(path("out")), tree(path("in")));
    EXPECT_EQ(tree(path("out")).size(), 10U);
}

TEST_F(DittoTest, AReadOnlyFolderComesBackWithWhatIsInIt) {
    made("in/locked/a", "a");
    fs::permissions(path("in/locked"), fs::perms(0555));
    packAndUnpack();
    EXPECT_EQ(tree(path("out")), tree(path("in")));
    fs::permissions(path("in/locked"), fs::perms(0755));
    fs::permissions(path("out/locked"), fs::perms(0755));
}

TEST_F(DittoTest, NamesOfAnyBytesComeBackAsTheyWere) {
    const std::vector<std::string> names = {
        std::string(255, 'n'),
        "caf\xC3\xA9",  // One letter,
        "cafe\xCC\x81", // and a letter and an accent.
        "\xE6\x97\xA5\xE6\x9C\xAC",
        "\xEA\xB0\x80", // One syllable, and its parts:
        "\xE1\x84\x80\xE1\x85\xA1",
        "\xFF\xFE not text",
        "a\xC3",
        "back\\slash",
        "C:\\windows\\style",
        "line\nbreak \t\x01",
        "-ck",
        "--keepParent",
        "100% %@ \"quoted\" 'it' $HOME *?",
        " blank ",
        "...",
    };
    for (const std::string& name : names) {
        made("in/" + name, "of " + name);
        made("in/sub\xFF/" + name, "below");
        fs::create_symlink("to " + name, path("in/link to " + name.substr(0, 240)));
    }
    packAndUnpack();
    EXPECT_EQ(tree(path("out")), tree(path("in")));
    EXPECT_EQ(tree(path("out")).size(), 3 * names.size() + 1);
}

TEST_F(DittoTest, ADepthOfAThousandFoldersComesBack) {
    std::string deepest = "in";
    fs::create_directory(path(deepest));
    for (int i = 0; i < 1000; ++i) {
        deepest += "/d";
        fs::create_directory(path(deepest));
    }
    made(deepest + "/file", "deep");
    packAndUnpack();
    EXPECT_EQ(readText(path("out" + deepest.substr(2) + "/file")), "deep");
}

TEST_F(DittoTest, APathLongerThanTheSystemTakesComesBack) {
    // No path of the tree can be given whole: it is made and looked at from within.
    EXPECT_EQ(printedByPython("import os, sys\n"
                              "os.makedirs(sys.argv[1])\n"
                              "os.chdir(sys.argv[1])\n"
                              "for i in range(40):\n"
                              "    os.mkdir(200 * 'd')\n"
                              "    os.chdir(200 * 'd')\n"
                              "open('file', 'w').write('far')\n",
                              {path("in")}),
              "");
    packAndUnpack();
    EXPECT_EQ(printedByPython("import os, sys\n"
                              "os.chdir(sys.argv[1])\n"
                              "for i in range(40):\n"
                              "    os.chdir(200 * 'd')\n"
                              "print(open('file').read())\n",
                              {path("out")}),
              "far\n");
}

TEST_F(DittoTest, AFileWithHolesComesBackWhole) {
    made("in/sparse", "begin");
    fs::resize_file(path("in/sparse"), 3'000'000);
    packAndUnpack();
    EXPECT_EQ(readText(path("out/sparse")), readText(path("in/sparse")));
}

TEST_F(DittoTest, AnEmptyFolderComesBackEmpty) {
    fs::create_directory(path("in"));
    packAndUnpack();
    EXPECT_TRUE(fs::is_directory(path("out")));
    EXPECT_TRUE(fs::is_empty(path("out")));
}

// What is in an archive

TEST_F(DittoTest, NamesBeginInTheFolderOrWithIt) {
    made("in/a", "a");
    made("in/sub/b", "b");
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("a.zip")), "a\nsub/\nsub/b\n");
    EXPECT_EQ(ditto({"-ck", "--keepParent", path("in"), path("b.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("b.zip")), "in/\nin/a\nin/sub/\nin/sub/b\n");
    EXPECT_EQ(ditto({"-ck", "--keepParent", path("in") + "//", path("c.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("c.zip")), "in/\nin/a\nin/sub/\nin/sub/b\n");
}

TEST_F(DittoTest, AFileStandsUnderItsOwnName) {
    made("in/a.txt", "text");
    EXPECT_EQ(ditto({"-ck", path("in/a.txt"), path("a.zip")}), kQuietly);
    EXPECT_EQ(ditto({"-ck", "--keepParent", path("in/a.txt"), path("b.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("a.zip")), "a.txt\n");
    EXPECT_EQ(namesIn(path("b.zip")), "a.txt\n");
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("out")}), kQuietly);
    EXPECT_EQ(readText(path("out/a.txt")), "text");
}

TEST_F(DittoTest, TheCurrentFolderIsKeptUnderItsName) {
    made("in/a", "a");
    const fs::path before = fs::current_path();
    fs::current_path(path("in"));
    EXPECT_EQ(ditto({"-ck", "--keepParent", ".", "../a.zip"}), kQuietly);
    EXPECT_EQ(ditto({"-ck", ".", "../b.zip"}), kQuietly);
    fs::current_path(before);
    EXPECT_EQ(namesIn(path("a.zip")), "in/\nin/a\n");
    EXPECT_EQ(namesIn(path("b.zip")), "a\n");
}

TEST_F(DittoTest, ALinkAsTheSourceIsFollowed) {
    made("in/a", "a");
    fs::create_symlink("in", path("folder"));
    fs::create_symlink("in/a", path("file"));
    EXPECT_EQ(ditto({"-ck", "--keepParent", path("folder"), path("a.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("a.zip")), "folder/\nfolder/a\n");
    EXPECT_EQ(ditto({"-ck", path("file"), path("b.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("b.zip")), "file\n");
    EXPECT_EQ(ditto({"-xk", path("b.zip"), path("out")}), kQuietly);
    EXPECT_EQ(readText(path("out/file")), "a");
}

TEST_F(DittoTest, OtherReadersSeeTheSameNamesModesAndContents) {
    made("in/caf\xC3\xA9.txt", std::string(100'000, 'x') + "end");
    fs::permissions(path("in/caf\xC3\xA9.txt"), fs::perms(0640));
    fs::create_symlink("\xE6\x97\xA5", path("in/link"));
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    EXPECT_EQ(printedByPython("import sys, zipfile\n"
                              "sys.stdout.reconfigure(encoding='utf-8')\n"
                              "zip = zipfile.ZipFile(sys.argv[1])\n"
                              "assert zip.testzip() is None\n"
                              "for i in sorted(zip.infolist(), key=lambda i: i.filename):\n"
                              "    text = zip.read(i).decode()\n"
                              "    print(i.filename, oct(i.external_attr >> 16), text[-6:],\n"
                              "          i.compress_size < 10000)\n",
                              {path("a.zip")}),
              "caf\xC3\xA9.txt 0o100640 xxxend True\nlink 0o120777 \xE6\x97\xA5 True\n");
}

TEST_F(DittoTest, AnArchiveInItsOwnSourceDoesNotHoldItself) {
    made("in/a", "a");
    EXPECT_EQ(ditto({"-ck", path("in"), path("in/b.zip")}), kQuietly);
    EXPECT_EQ(namesIn(path("in/b.zip")), "a\n");
}

TEST_F(DittoTest, AnArchiveIsReplacedAndHasTheModeOfANewFile) {
    made("in/a", "a");
    made("a.zip", "old");
    fs::permissions(path("a.zip"), fs::perms(0400));
    const mode_t mask = ::umask(027);
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    ::umask(mask);
    EXPECT_EQ(namesIn(path("a.zip")), "a\n");
    EXPECT_EQ(fs::status(path("a.zip")).permissions(), fs::perms(0640));
}

// Unpacking

TEST_F(DittoTest, TheFolderIsMadeWithItsParentsAsANewOne) {
    made("in/a", "a");
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    const mode_t mask = ::umask(027);
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("x/y/out/")}), kQuietly);
    ::umask(mask);
    EXPECT_EQ(readText(path("x/y/out/a")), "a");
    EXPECT_EQ(fs::status(path("x/y/out")).permissions(), fs::perms(0750));
    EXPECT_EQ(std::distance(fs::directory_iterator(path("x/y")), {}), 1);
}

TEST_F(DittoTest, AFolderThatExistsIsFilledUp) {
    made("in/a", "new");
    made("in/sub/b", "new");
    made("out/a", "old and longer");
    made("out/sub/c", "other");
    packAndUnpack();
    EXPECT_EQ(readText(path("out/a")), "new");
    EXPECT_EQ(readText(path("out/sub/b")), "new");
    EXPECT_EQ(readText(path("out/sub/c")), "other");
}

TEST_F(DittoTest, AFolderCanBeReachedThroughALink) {
    made("in/a", "a");
    fs::create_directory(path("real"));
    fs::create_symlink("real", path("link"));
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("link")}), kQuietly);
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("link/new")}), kQuietly);
    EXPECT_EQ(readText(path("real/a")), "a");
    EXPECT_EQ(readText(path("real/new/a")), "a");
}

TEST_F(DittoTest, TwoDotsBehindALinkLeadToTheFolderThatHoldsItsTarget) {
    made("in/a", "new");
    made("out/a", "another folder's");
    fs::create_directories(path("real/sub"));
    fs::create_directory_symlink("real/sub", path("link"));
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("link/../out")}), kQuietly);
    EXPECT_EQ(readText(path("real/out/a")), "new");
    EXPECT_EQ(readText(path("out/a")), "another folder's");
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("link/..")}), kQuietly);
    EXPECT_EQ(readText(path("real/a")), "new");
}

TEST_F(DittoTest, DotsAndSlashesAtTheEndAreTheFolderItself) {
    made("in/a", "a");
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    for (const char* end : {"/.", "//", "/./", "/.//./"}) {
        EXPECT_EQ(ditto({"-xk", path("a.zip"), path("out") + end}), kQuietly) << end;
        EXPECT_EQ(readText(path("out/a")), "a") << end;
        fs::remove_all(path("out"));
    }
    const fs::path before = fs::current_path();
    fs::create_directory(path("here"));
    fs::current_path(path("here"));
    EXPECT_EQ(ditto({"-xk", "../a.zip", "."}), kQuietly);
    fs::current_path(before);
    EXPECT_EQ(readText(path("here/a")), "a");
}

// What fails leaves nothing

TEST_F(DittoTest, AFolderThatIsMissingHasNoTwoDots) {
    made("in/a", "a");
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    EXPECT_EQ(
        ditto({"-xk", path("a.zip"), path("missing/..")}),
        (ProgramRun{1, "", "ditto: " + path("missing/..") + ": No such file or directory\n"}));
    EXPECT_THAT(left(), testing::UnorderedElementsAre("in", "a.zip"));
}

TEST_F(DittoTest, ASourceThatIsMissingGivesNoArchive) {
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}),
              (ProgramRun{1, "", "ditto: " + path("in") + ": No such file or directory\n"}));
    EXPECT_THAT(left(), testing::IsEmpty());
}

TEST_F(DittoTest, WhatCannotBeKeptGivesNoArchiveAndLeavesTheOldOne) {
    made("in/a", "a");
    made("a.zip", "old");
    ASSERT_EQ(::mkfifo(path("in/fifo").c_str(), 0600), 0);
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}),
              (ProgramRun{1, "",
                          "ditto: " + path("in/fifo") +
                              ": only files, folders and links can be archived\n"}));
    EXPECT_EQ(readText(path("a.zip")), "old");
    EXPECT_THAT(left(), testing::UnorderedElementsAre("in", "a.zip"));
}

TEST_F(DittoTest, WhatCannotBeReadGivesNoArchive) {
    made("in/a", "a");
    made("in/sub/b", "b");
    const std::string tool = path("ditto"); // Within everybody's reach.
    fs::copy_file(FW_TOOL_DITTO, tool);
    fs::permissions(folder_.path(), fs::perms(0777));
    fs::permissions(path("in"), fs::perms(0755));
    for (const char* shut : {"in/a", "in/sub"}) {
        fs::permissions(path(shut), fs::perms(0));
        {
            const WithoutPrivileges without;
            ASSERT_TRUE(without.worked());
            const ProgramRun run = programRun(tool, {"-ck", path("in"), path("a.zip")});
            EXPECT_NE(run.status, 0) << shut;
            EXPECT_THAT(run.errors, HasSubstr(shut));
        }
        EXPECT_THAT(left(), testing::UnorderedElementsAre("in", "ditto"));
        fs::permissions(path(shut), fs::perms(0755));
    }
}

TEST_F(DittoTest, AnArchiveThatCannotBeWrittenIsAnError) {
    made("in/a", "a");
    fs::create_directory(path("folder"));
    const std::string missing = path("no/a.zip");
    EXPECT_EQ(ditto({"-ck", path("in"), missing}),
              (ProgramRun{1, "", "ditto: " + missing + ": No such file or directory\n"}));
    EXPECT_EQ(ditto({"-ck", path("in"), path("folder")}),
              (ProgramRun{1, "", "ditto: " + path("folder") + ": Is a directory\n"}));
    EXPECT_THAT(left(), testing::UnorderedElementsAre("in", "folder"));
}

TEST_F(DittoTest, ALimitOfAFilesSizeLeavesNothingBehind) {
    std::mt19937 random; // What cannot be packed any smaller.
    std::string text(300'000, '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    made("in/a", text);
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    const SmallFiles small(100'000);
    {
        // The library of archives keeps its packer after a failure, and the tool ends with that.
        const ScopedEnvironment sanitizer("ASAN_OPTIONS", "detect_leaks=0");
        EXPECT_EQ(
            ditto({"-ck", path("in"), path("b.zip")}),
            (ProgramRun{1, "", "ditto: " + path("in/a") + ": Write error: File too large\n"}));
    }
    EXPECT_EQ(ditto({"-xk", path("a.zip"), path("out")}),
              (ProgramRun{1, "", "ditto: " + path("out/a") + ": Write failed: File too large\n"}));
    EXPECT_THAT(left(), testing::UnorderedElementsAre("in", "a.zip"));
}

TEST_F(DittoTest, AFileInTheFoldersPlaceIsAnError) {
    made("in/a", "a");
    made("out", "file");
    fs::create_symlink("nowhere", path("dangling"));
    EXPECT_EQ(ditto({"-ck", path("in"), path("a.zip")}), kQuietly);
    for (const char* name : {"out", "dangling", "out/below"}) {
        const ProgramRun run = ditto({"-xk", path("a.zip"), path(name)});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.errors, "ditto: " + path(name) + ": Not a directory\n");
    }
    EXPECT_EQ(readText(path("out")), "file");
    EXPECT_THAT(left(), testing::UnorderedElementsAre("in", "out", "dangling", "a.zip"));
}

TEST_F(DittoTest, OtherArgumentsAreRefused) {
    const std::string a = made("a", "a");
    const std::string b = path("b");
    using Arguments = std::vector<std::string>;
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"-ck"}, Arguments{"-ck", a}, Arguments{"-ck", a, b, b},
          Arguments{"-ck", "--keepParents", a, b}, Arguments{"-ck", a, "--keepParent", b},
          Arguments{"-xk"}, Arguments{"-xk", a}, Arguments{"-xk", "--keepParent", a, b},
          Arguments{"-c", "-k", a, b}, Arguments{a, b}, Arguments{"", a, b}}) {
        EXPECT_EQ(ditto(arguments), (ProgramRun{64, "", kUsage}));
    }
    EXPECT_FALSE(fs::exists(b));
}

} // namespace
} // namespace fw
