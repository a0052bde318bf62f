#include "platform/FileDescriptor.h"
#include "tests/suite/FailingMemory.h"
#include "tests/suite/FileOperationTest.h"
#include "tests/support/LeasedFile.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

using Paths = std::vector<std::string>;

class FWFileManagerCombineTest : public FileOperationTest {
protected:
    bool combined(const Paths& sources, const std::string& destination,
                  DeleteSourceFiles deleteSourceFiles = DeleteSourceFiles::kNo) const {
        Paths paths;
        for (const std::string& name : sources) {
            paths.push_back(path(name));
        }
        return FWFileManager::combineFiles(paths, path(destination), deleteSourceFiles);
    }
    std::string unopened(const std::string& name) const {
        return "Error: Unable to open destination file " + path(name) +
               ". Aborting combination process...";
    }
};

TEST_F(FWFileManagerCombineTest, WritesTheSourcesOneAfterTheOther) {
    const Paths texts = {someBytes(kChunk + 1), "", someBytes(3 * kChunk), "end"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        made(std::to_string(i), texts[i]);
    }
    made("all", someBytes(10 * kChunk));
    EXPECT_TRUE(combined({"0", "1", "2", "3"}, "all"));
    EXPECT_EQ(contents("all"), texts[0] + texts[1] + texts[2] + texts[3]);
    EXPECT_EQ(contents("0"), texts[0]);
    EXPECT_TRUE(combined({"3", "3"}, "new"));
    EXPECT_EQ(contents("new"), "endend");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerCombineTest, ASourceUnderALeaseIsWaitedFor) {
    made("a", "1");
    made("b", "2");
    LeasedFile lease(path("b"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    EXPECT_TRUE(combined({"a", "b"}, "all"));
    EXPECT_TRUE(lease.wasGivenUp());
    EXPECT_EQ(contents("all"), "12");
}

TEST_F(FWFileManagerCombineTest, SourcesAreDeletedWhenTheyShallBe) {
    made("a", "1");
    made("b", "2");
    EXPECT_TRUE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
    EXPECT_EQ(contents("all"), "12");
    EXPECT_FALSE(exists("a"));
    EXPECT_FALSE(exists("b"));
}

TEST_F(FWFileManagerCombineTest, ASourceThatCannotBeDeletedStaysAndNoRightsAreAskedFor) {
    folder("folder");
    made("folder/a", "1");
    made("b", "2");
    const ReadOnly readOnly(path("folder"));
    EXPECT_TRUE(combined({"folder/a", "b"}, "all", DeleteSourceFiles::kYes));
    EXPECT_EQ(contents("all"), "12");
    EXPECT_TRUE(exists("folder/a"));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerCombineTest, OneSourceIsMovedWhetherItIsToBeDeletedOrNotDeliberately) {
    for (const DeleteSourceFiles choice : {DeleteSourceFiles::kNo, DeleteSourceFiles::kYes}) {
        made("a", "text");
        made("all", "old");
        EXPECT_TRUE(combined({"a"}, "all", choice));
        EXPECT_EQ(contents("all"), "text");
        EXPECT_FALSE(exists("a"));
    }
}

TEST_F(FWFileManagerCombineTest, OneSourceOntoALinkReplacesTheLink) {
    made("a", "text");
    made("target", "kept");
    link("target", "link");
    EXPECT_TRUE(combined({"a"}, "link"));
    EXPECT_EQ(contents("link"), "text");
    EXPECT_FALSE(fs::is_symlink(path("link")));
    EXPECT_EQ(contents("target"), "kept");
}

TEST_F(FWFileManagerCombineTest, OneSourceThatCannotBeMovedIsAFailure) {
    folder("folder");
    made("folder/a", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(combined({"folder/a"}, "all"));
    EXPECT_EQ(contents("folder/a"), "text");
    EXPECT_THAT(asked, ElementsAre("move " + path("folder/a") + " " + path("all")));
}

TEST_F(FWFileManagerCombineTest, OneSourceOntoItselfStaysAsItIs) {
    made("a", "text");
    fs::create_hard_link(path("a"), path("hard"));
    link("a", "soft");
    for (const char* name : {"a", "hard", "soft", "./a"}) {
        EXPECT_TRUE(combined({"a"}, name, DeleteSourceFiles::kYes)) << name;
        EXPECT_TRUE(combined({name}, "a", DeleteSourceFiles::kYes)) << name;
    }
    EXPECT_EQ(contents("a"), "text");
    EXPECT_EQ(contents("hard"), "text");
    EXPECT_TRUE(fs::is_symlink(path("soft")));
}

TEST_F(FWFileManagerCombineTest, AFolderDoesNotReplaceWhatLiesInIt) {
    folder("folder/inner");
    made("folder/inner/a", "text");
    link("folder/inner", "way");
    for (const char* name : {"folder/inner/a", "folder/inner", "way/a", "folder/inner/new"}) {
        EXPECT_FALSE(combined({"folder"}, name, DeleteSourceFiles::kYes)) << name;
        EXPECT_EQ(systemLogged().back(), unopened(name));
    }
    EXPECT_EQ(contents("folder/inner/a"), "text");
    EXPECT_THAT(namesIn(path("folder/inner")), ElementsAre("a"));
    link("folder", "link");
    EXPECT_TRUE(combined({"link"}, "folder/inner/a")) << "a link to the folder is no folder";
    EXPECT_EQ(fs::read_symlink(path("folder/inner/a")), "folder");
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerCombineTest, OneSourceDoesNotReplaceTheFolderThatItLiesIn) {
    folder("folder/inner");
    made("folder/inner/a", "text");
    made("b", "text");
    link("folder/inner", "way");
    fs::create_symlink(path("b"), path("folder/leadsOut"));
    link("folder/inner/a", "leadsIn");
    for (const char* source :
         {"folder/inner/a", "folder/./inner/../inner/a", "way/a", "folder/leadsOut", "leadsIn"}) {
        EXPECT_FALSE(combined({source}, "folder")) << source;
        EXPECT_EQ(systemLogged().back(), unopened("folder"));
    }
    EXPECT_EQ(contents("folder/inner/a"), "text");
    EXPECT_EQ(contents("folder/leadsOut"), "text");
    EXPECT_EQ(contents("leadsIn"), "text");
}

TEST_F(FWFileManagerCombineTest, OneSourceReplacesAnotherFolder) {
    folder("folder");
    made("folder/old", "old");
    made("a", "text");
    EXPECT_TRUE(combined({"a"}, "folder"));
    EXPECT_EQ(contents("folder"), "text");
    EXPECT_FALSE(exists("a"));
}

TEST_F(FWFileManagerCombineTest, NothingToCombineIsRefused) {
    EXPECT_FALSE(combined({}, "all"));
    EXPECT_FALSE(FWFileManager::combineFiles({}, "", DeleteSourceFiles::kNo));
    EXPECT_FALSE(FWFileManager::combineFiles({made("a", "")}, "", DeleteSourceFiles::kNo));
    const std::string message =
        "Error: No source file URLs specified. Aborting combination process...";
    EXPECT_THAT(systemLogged(),
                ElementsAre(message, message,
                            "Error: No destination specified. Aborting combination process..."));
}

TEST_F(FWFileManagerCombineTest, AMissingSourceIsRefusedBeforeAnythingIsTouched) {
    made("a", "text");
    made("all", "kept");
    link("nowhere", "dangling");
    for (const std::string name : {"missing", "dangling"}) {
        EXPECT_FALSE(combined({"a", name}, "all", DeleteSourceFiles::kYes));
        EXPECT_EQ(systemLogged().back(),
                  "Error: File " + path(name) + " doesn't exist. Aborting combination process...");
        EXPECT_FALSE(combined({name}, "all"));
    }
    EXPECT_EQ(contents("a"), "text");
    EXPECT_EQ(contents("all"), "kept");
}

TEST_F(FWFileManagerCombineTest, ASourceAmongThemIsNoDestination) {
    made("a", "1");
    made("b", "2");
    fs::create_hard_link(path("b"), path("hard"));
    link("b", "soft");
    for (const char* name : {"a", "b", "hard", "soft", "./b"}) {
        EXPECT_FALSE(combined({"a", "b"}, name, DeleteSourceFiles::kYes)) << name;
        EXPECT_EQ(systemLogged().back(), unopened(name));
    }
    EXPECT_EQ(contents("a"), "1");
    EXPECT_EQ(contents("b"), "2");
}

TEST_F(FWFileManagerCombineTest, ADestinationThatCannotBeOpenedIsRefused) {
    made("a", "1");
    made("b", "2");
    folder("folder");
    fifo("fifo");
    link("loop", "loop");
    for (const std::string& name :
         {std::string("folder"), std::string("fifo"), std::string("loop"),
          std::string("no/folder/all"), std::string(256, 'n'), std::string("x\0y", 3)}) {
        EXPECT_FALSE(combined({"a", "b"}, name, DeleteSourceFiles::kYes));
        EXPECT_EQ(systemLogged().back(), unopened(name));
    }
    EXPECT_EQ(contents("a"), "1");
}

TEST_F(FWFileManagerCombineTest, ASourceThatCannotBeOpenedEndsIt) {
    made("a", "1");
    made("c", "3");
    folder("folder");
    fifo("fifo");
    made("secret", "");
    ::chmod(path("secret").c_str(), 0);
    for (const std::string name : {"folder", "fifo", "secret"}) {
        EXPECT_FALSE(combined({"a", name, "c"}, "all"));
        EXPECT_EQ(systemLogged().back(), "Error: Unable to open source file " + path(name) +
                                             ". Aborting combination process...");
        EXPECT_EQ(contents("all"), "1");
    }
}

TEST_F(FWFileManagerCombineTest, ASourceGivenTwiceIsMissingTheSecondTimeWhenItIsDeleted) {
    made("a", "1");
    EXPECT_FALSE(combined({"a", "a"}, "all", DeleteSourceFiles::kYes));
    EXPECT_THAT(systemLogged(), ElementsAre("Error: Unable to open source file " + path("a") +
                                            ". Aborting combination process..."));
    EXPECT_EQ(contents("all"), "1");
}

TEST_F(FWFileManagerCombineTest, WithoutMemoryItSaysSo) {
    made("a", "1");
    made("b", "2");
    const std::string message = "Error combining file " + path("b") + " - out of memory";
    EXPECT_EQ(printedBy([&] {
                  const FailingMemory memory(1);
                  EXPECT_FALSE(combined({"a", "b"}, "all"));
              }),
              message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
}

TEST_F(FWFileManagerCombineTest, AReadErrorEndsItAndTheSourceStays) {
    made("a", "1");
    made("b", someBytes(2 * kChunk));
    failRead(4); // Two for the first file, one for the first chunk of the second.
    const std::string message = "Error reading file " + path("b") + " - aborting...";
    EXPECT_EQ(printedBy([&] {
                  EXPECT_FALSE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
              }),
              message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
    EXPECT_EQ(contents("b"), someBytes(2 * kChunk));
    EXPECT_EQ(contents("all"), std::string("1").append(someBytes(2 * kChunk), 0, kChunk));
}

TEST_F(FWFileManagerCombineTest, AReadErrorAfterAPartOfAChunkEndsItAndTheSourcesStay) {
    made("a", someBytes(2 * kChunk));
    made("b", "2");
    setFileCalls({.read = FailingRead{.number = 3, .bytesBefore = 100}, .write = {}, .seek = {}});
    EXPECT_EQ(printedBy([&] {
                  EXPECT_FALSE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
              }),
              "Error reading file " + path("a") + " - aborting...\n");
    EXPECT_EQ(contents("a"), someBytes(2 * kChunk));
    EXPECT_EQ(contents("b"), "2");
    EXPECT_EQ(contents("all"), someBytes(2 * kChunk).substr(0, kChunk + 100));
}

TEST_F(FWFileManagerCombineTest, ADestinationThatCannotBeEmptiedIsRefused) {
    const FileDescriptor sealed(::memfd_create("sealed", MFD_ALLOW_SEALING | MFD_CLOEXEC));
    ASSERT_EQ(::write(sealed.get(), "kept", 4), 4);
    ASSERT_EQ(::fcntl(sealed.get(), F_ADD_SEALS, F_SEAL_SHRINK), 0);
    const std::string name = "/proc/self/fd/" + std::to_string(sealed.get());
    made("a", "1");
    made("b", "2");
    EXPECT_FALSE(
        FWFileManager::combineFiles({path("a"), path("b")}, name, DeleteSourceFiles::kYes));
    EXPECT_THAT(systemLogged(), ElementsAre("Error: Unable to open destination file " + name +
                                            ". Aborting combination process..."));
    EXPECT_EQ(readText(name), "kept");
    EXPECT_EQ(contents("a"), "1");
    EXPECT_EQ(contents("b"), "2");
}

TEST_F(FWFileManagerCombineTest, AfterAShortWriteItGoesOnAndDeletesNoSourceAnyMore) {
    made("a", "1");
    made("b", someBytes(kChunk));
    made("c", "3");
    bool isDone = false;
    {
        const SmallFiles small(100);
        isDone = combined({"a", "b", "c"}, "all", DeleteSourceFiles::kYes);
    }
    EXPECT_TRUE(isDone);
    const std::string message = "Error writing file " + path("all") + ": 1";
    EXPECT_THAT(systemLogged(), ElementsAre(message, message));
    EXPECT_FALSE(exists("a")) << "all of it is in the destination";
    EXPECT_EQ(contents("b"), someBytes(kChunk));
    EXPECT_EQ(contents("c"), "3");
    EXPECT_EQ(contents("all"), std::string("1").append(someBytes(kChunk), 0, 99));
}

TEST_F(FWFileManagerCombineTest, NoSourceIsDeletedThatTheDiskDidNotTake) {
    int flushes = 0;
    setFileCalls({.read = {}, .write = {}, .seek = {}, .rename = {}, .flush = [&](int) {
                      errno = EIO;
                      return ++flushes == 2 ? -1 : 0;
                  }});
    for (const char* name : {"a", "b", "c"}) {
        made(name, name);
    }
    EXPECT_TRUE(combined({"a", "b", "c"}, "all", DeleteSourceFiles::kYes));
    EXPECT_THAT(systemLogged(), ElementsAre("Error writing file " + path("all") + ": 1"));
    EXPECT_EQ(contents("all"), "abc");
    EXPECT_FALSE(exists("a"));
    EXPECT_TRUE(exists("b"));
    EXPECT_TRUE(exists("c"));
}

TEST_F(FWFileManagerCombineTest, TheDiskTakesTheDestinationsNameBeforeTheFirstSourceIsDeleted) {
    int flushes = 0;
    setFileCalls({.read = {},
                  .write = {},
                  .seek = {},
                  .rename = {},
                  .flush = {},
                  .flushFileSystem = [&](int) {
                      ++flushes;
                      EXPECT_TRUE(exists("a"));
                      return 0;
                  }});
    for (const char* name : {"a", "b", "c"}) {
        made(name, name);
    }
    EXPECT_TRUE(combined({"a", "b", "c"}, "all"));
    EXPECT_EQ(flushes, 0);
    EXPECT_TRUE(combined({"a", "b", "c"}, "all", DeleteSourceFiles::kYes));
    EXPECT_EQ(flushes, 1);
    EXPECT_FALSE(exists("c"));
}

TEST_F(FWFileManagerCombineTest, NoSourceIsDeletedWhenTheDiskDoesNotTakeTheDestinationsName) {
    setFileCalls({.read = {},
                  .write = {},
                  .seek = {},
                  .rename = {},
                  .flush = {},
                  .flushFileSystem = [](int) {
                      errno = EIO;
                      return -1;
                  }});
    for (const char* name : {"a", "b"}) {
        made(name, name);
    }
    EXPECT_TRUE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
    EXPECT_THAT(systemLogged(), ElementsAre("Error writing file " + path("all") + ": 1"));
    EXPECT_TRUE(exists("a"));
    EXPECT_TRUE(exists("b"));
}

TEST_F(FWFileManagerCombineTest, ASourceThatGrowsAfterItWasReadIsNotDeleted) {
    for (const char* name : {"a", "b", "c"}) {
        made(name, name);
    }
    int flushes = 0;
    FileCalls calls;
    calls.flush = [&](int) { // All of the source has been read.
        if (++flushes == 2) {
            std::ofstream(path("b"), std::ios::app) << "late";
        }
        return 0;
    };
    setFileCalls(calls);
    EXPECT_TRUE(combined({"a", "b", "c"}, "all", DeleteSourceFiles::kYes));
    EXPECT_EQ(contents("all"), "abc");
    EXPECT_EQ(contents("b"), "blate");
    EXPECT_FALSE(exists("a"));
    EXPECT_FALSE(exists("c")) << "all of it is in the destination";
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerCombineTest, ASourceThatIsWrittenOrReplacedMeanwhileIsNotDeleted) {
    const std::vector<std::function<void()>> changes = {
        [&] { std::ofstream(path("a"), std::ios::app) << "late"; },
        [&] { fs::resize_file(path("a"), 0); }, [&] { fs::rename(path("next"), path("a")); },
        [&] {
            fs::remove(path("a"));
            link("next", "a");
        },
        [&] {
            fs::last_write_time(path("a"), fs::file_time_type::clock::now() + 1h);
        }};
    for (const auto& change : changes) {
        for (const int read : {1, 2}) { // Before it is read, and before its end is.
            made("a", "text");
            made("b", "2");
            made("next", "take 2");
            atRead(read, change);
            EXPECT_TRUE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
            EXPECT_TRUE(exists("a"));
            EXPECT_FALSE(exists("b"));
            fs::remove(path("a"));
        }
    }
}

TEST_F(FWFileManagerCombineTest, ALinkAmongTheSourcesIsDeletedAndItsTargetStays) {
    made("target", "text");
    link("target", "a");
    made("b", "2");
    atRead(2, [&] { std::ofstream(path("target"), std::ios::app) << "late"; });
    EXPECT_TRUE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
    EXPECT_EQ(contents("all"), "textlate2");
    EXPECT_FALSE(exists("a"));
    EXPECT_EQ(contents("target"), "textlate");
}

TEST_F(FWFileManagerCombineTest, ASourceIsClosedBeforeItIsDeleted) {
    std::vector<std::size_t> open;
    setFileCalls({.read = {},
                  .write = {},
                  .seek = {},
                  .rename = {},
                  .flush =
                      [&](int) { // The last thing before.
                          open.push_back(openDescriptors());
                          return 0;
                      },
                  .flushFileSystem = {}});
    made("a", "1");
    made("b", "2");
    const std::size_t before = openDescriptors();
    EXPECT_TRUE(combined({"a", "b"}, "all", DeleteSourceFiles::kYes));
    EXPECT_THAT(open, ElementsAre(before + 1, before + 1)) << "the destination";
}

TEST_F(FWFileManagerCombineTest, NamesMayBeLongAndNeedNotBeText) {
    const std::string longName(255, 'n');
    made(longName, "1");
    made("\xFF\xFE", "2");
    EXPECT_TRUE(combined({longName, "\xFF\xFE"}, "100%@"));
    EXPECT_EQ(contents("100%@"), "12");
}

} // namespace
} // namespace fw
