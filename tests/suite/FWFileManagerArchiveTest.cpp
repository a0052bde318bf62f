#include "support/FWFileManager.h"

#include "platform/tools/toolPath.h"
#include "tests/suite/FileOperationTest.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <thread>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class ArchiveTest : public FileOperationTest {
protected:
    ArchiveTest() {
        fs::create_directories(path("in/sub"));
        made("in/a", "of a");
        made("in/sub/\xFF", "of it");
    }
    ~ArchiveTest() override { setStandInTools({}); }

    /// Contents of a file in the trash.
    std::string inTrash(const std::string& name) const { return readText(trashed(name)); }
    /// A tool in ditto's place that only notes its arguments.
    void putRecorderInPlace() const {
        const std::string tool =
            made("tool", "#!/bin/sh\nprintf '<%s>' \"$@\" > '" + path("asked") + "'\n");
        fs::permissions(tool, fs::perms::owner_all);
        setStandInTools({{"/usr/bin/ditto", tool}});
    }
    void expectSilence() const {
        EXPECT_THAT(logged(), IsEmpty());
        EXPECT_THAT(systemLogged(), IsEmpty());
    }
};

TEST_F(ArchiveTest, WhatIsPackedIsUnpacked) {
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_TRUE(FWFileManager::decompressFile(path("a.zip"), path("out")));
    EXPECT_EQ(contents("out/a"), "of a");
    EXPECT_EQ(contents("out/sub/\xFF"), "of it");
    EXPECT_FALSE(fs::exists(trash()));
    expectSilence();
}

TEST_F(ArchiveTest, TheFoldersNameMayBeKept) {
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("a.zip"), IncludeParent::kYes));
    EXPECT_TRUE(FWFileManager::decompressFile(path("a.zip"), path("out")));
    EXPECT_EQ(contents("out/in/a"), "of a");
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("b.zip"), IncludeParent::kNo));
    EXPECT_TRUE(FWFileManager::decompressFile(path("b.zip"), path("out2")));
    EXPECT_EQ(contents("out2/a"), "of a");
}

TEST_F(ArchiveTest, TheToolIsGivenTheseArguments) {
    putRecorderInPlace();
    EXPECT_FALSE(FWFileManager::compressFile("-s \xFF", path("a.zip")));
    EXPECT_EQ(contents("asked"), "<-ck><-s \xFF><" + path("a.zip") + ">");
    EXPECT_FALSE(FWFileManager::compressFile("s", path("a.zip"), IncludeParent::kYes));
    EXPECT_EQ(contents("asked"), "<-ck><--keepParent><s><" + path("a.zip") + ">");
    EXPECT_FALSE(FWFileManager::decompressFile("s", path("out")));
    EXPECT_EQ(contents("asked"), "<-xk><s><" + path("out") + ">");
}

TEST_F(ArchiveTest, AnArchiveThatIsThereGoesToTheTrash) {
    made("a.zip", "old");
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_EQ(inTrash("a.zip"), "old");
    EXPECT_TRUE(FWFileManager::decompressFile(path("a.zip"), path("out")));
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_THAT(namesIn(trash()), ElementsAre("a 2.zip", "a.zip"));
}

TEST_F(ArchiveTest, AFolderThatIsThereGoesToTheTrash) {
    fs::create_directory(path("out"));
    made("out/old", "old");
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_TRUE(FWFileManager::decompressFile(path("a.zip"), path("out")));
    EXPECT_EQ(contents("out/a"), "of a");
    EXPECT_FALSE(exists("out/old"));
    EXPECT_EQ(inTrash("out/old"), "old");
    made("file", "old");
    EXPECT_TRUE(FWFileManager::decompressFile(path("a.zip"), path("file")));
    EXPECT_EQ(inTrash("file"), "old");
}

TEST_F(ArchiveTest, ASourceIsNeverTrashedForItsOwnArchive) {
    EXPECT_FALSE(FWFileManager::compressFile(path("in/a"), path("in/a")));
    EXPECT_FALSE(FWFileManager::compressFile(path("in/a"), path("in")));
    EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("in")));
    fs::create_symlink("in", path("link"));
    EXPECT_FALSE(FWFileManager::compressFile(path("in/sub"), path("link")));
    EXPECT_FALSE(FWFileManager::compressFile(path("link/sub"), path("in")));
    EXPECT_EQ(contents("in/a"), "of a");
    EXPECT_FALSE(fs::exists(trash()));
}

TEST_F(ArchiveTest, AnArchiveIsNeverTrashedForItsOwnContents) {
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("in/sub/a.zip")));
    EXPECT_FALSE(FWFileManager::decompressFile(path("in/sub/a.zip"), path("in/sub/a.zip")));
    EXPECT_FALSE(FWFileManager::decompressFile(path("in/sub/a.zip"), path("in/sub")));
    EXPECT_FALSE(FWFileManager::decompressFile(path("in/sub/a.zip"), path("in")));
    EXPECT_TRUE(exists("in/sub/a.zip"));
    EXPECT_EQ(contents("in/a"), "of a");
    EXPECT_FALSE(fs::exists(trash()));
}

TEST_F(ArchiveTest, WhatCannotBeTrashedStaysAndNothingIsDone) {
    made("a.zip", "old");
    fs::create_directory(path("out"));
    writeText(trash(), "in the way");
    putRecorderInPlace();
    EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_THAT(asked, ElementsAre("trash " + path("a.zip"))) << "rights may be used";
    EXPECT_FALSE(FWFileManager::decompressFile(path("in/a"), path("out")));
    EXPECT_EQ(asked.size(), 1U) << "and may not";
    EXPECT_FALSE(exists("asked"));
    EXPECT_EQ(contents("a.zip"), "old");
    EXPECT_TRUE(exists("out"));
}

TEST_F(ArchiveTest, WhatIsTrashedWithRightsIsWaitedFor) {
    made("a.zip", "old");
    writeText(trash(), "in the way");
    putRecorderInPlace();
    answer = true;
    std::thread mover;
    whenAsked = [&] {
        mover = std::thread([this] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            EXPECT_FALSE(exists("asked")) << "the tool runs while the old archive is there";
            fs::rename(path("a.zip"), path("taken"));
        });
    };
    EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("a.zip")));
    mover.join();
    EXPECT_EQ(contents("taken"), "old");
    EXPECT_TRUE(exists("asked"));
}

TEST_F(ArchiveTest, WhatRightsDoNotTakeAwayStaysAndNothingIsDone) {
    made("a.zip", "old");
    writeText(trash(), "in the way");
    putRecorderInPlace();
    answer = true;
    EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_THAT(asked, ElementsAre("trash " + path("a.zip")));
    EXPECT_FALSE(exists("asked"));
    EXPECT_EQ(contents("a.zip"), "old");
}

TEST_F(ArchiveTest, ALinkToNowhereThatIsThereGoesToTheTrash) {
    link("nowhere", "a.zip");
    link("loop", "loop");
    EXPECT_TRUE(FWFileManager::compressFile(path("in"), path("a.zip")));
    EXPECT_EQ(fs::read_symlink(trashed("a.zip")), "nowhere");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path("a.zip"))));
    EXPECT_TRUE(FWFileManager::decompressFile(path("a.zip"), path("loop")));
    EXPECT_EQ(fs::read_symlink(trashed("loop")), "loop");
    EXPECT_EQ(contents("loop/a"), "of a");
    EXPECT_FALSE(exists("nowhere"));
}

TEST_F(ArchiveTest, WhatFailsLeavesNoResult) {
    EXPECT_FALSE(FWFileManager::compressFile(path("missing"), path("a.zip")));
    EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("no/a.zip")));
    EXPECT_FALSE(FWFileManager::decompressFile(path("missing"), path("out")));
    EXPECT_FALSE(FWFileManager::decompressFile(path("in/a"), path("out")));
    EXPECT_FALSE(FWFileManager::decompressFile(path("in"), path("out")));
    EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("a") + std::string("\0", 1)));
    EXPECT_FALSE(exists("a.zip"));
    EXPECT_FALSE(exists("out"));
    EXPECT_EQ(contents("in/a"), "of a");
}

TEST_F(ArchiveTest, AMissingToolIsLogged) {
    setStandInTools({{"/usr/bin/ditto", path("missing")}});
    const char* const kMessage = "Error: /usr/bin/ditto is not executable";
    EXPECT_EQ(printedBy([this] {
                  EXPECT_FALSE(FWFileManager::compressFile(path("in"), path("a.zip")));
                  EXPECT_FALSE(FWFileManager::decompressFile(path("a.zip"), path("out")));
              }),
              std::string(kMessage).append("\n").append(kMessage).append("\n"));
    EXPECT_THAT(logged(), ElementsAre(kMessage, kMessage));
}

} // namespace
} // namespace fw
