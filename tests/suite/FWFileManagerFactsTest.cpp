#include "platform/files/FileAttributes.h"
#include "platform/mainthread/MainThread.h"
#include "tests/suite/FileOperationTest.h"

#include <functional>
#include <gmock/gmock.h>
#include <limits>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class FWFileManagerFactsTest : public FileOperationTest {};
class FWFileManagerTouchTest : public FileOperationTest {};
class FWFileManagerWaitTest : public FileOperationTest {};

TEST_F(FWFileManagerFactsTest, AMissingFileHasNoSizeAndNoDatesAndIsNothingOfAKind) {
    link("nowhere", "dangling");
    link("loop", "loop");
    for (const std::string& name : {path("missing"), path("dangling"), path("loop"), std::string(),
                                    path("x") + std::string("\0y", 2)}) {
        EXPECT_FALSE(FWFileManager::fileExistsAtPath(name));
        EXPECT_FALSE(FWFileManager::isDirectoryAtPath(name));
        EXPECT_FALSE(FWFileManager::isPackageAtPath(name));
        EXPECT_EQ(FWFileManager::fileSize(name), 0U);
        EXPECT_EQ(FWFileManager::modificationDateForFile(name), std::nullopt);
        EXPECT_EQ(FWFileManager::creationDateForFile(name), std::nullopt);
    }
    EXPECT_FALSE(FWFileManager::isSymbolicLinkAtPath(path("missing")));
    EXPECT_FALSE(FWFileManager::isSymbolicLinkAtPath(path("loop") + std::string("\0", 1)));
}

TEST_F(FWFileManagerFactsTest, FolderTestsFollowLinks) {
    folder("folder");
    made("file", "text");
    link("folder", "link");
    link("file", "other");
    EXPECT_TRUE(FWFileManager::isDirectoryAtPath(path("folder")));
    EXPECT_TRUE(FWFileManager::isDirectoryAtPath(path("link")));
    EXPECT_FALSE(FWFileManager::isDirectoryAtPath(path("file")));
    EXPECT_FALSE(FWFileManager::isDirectoryAtPath(path("other")));
    EXPECT_FALSE(FWFileManager::isDirectoryAtPath(fifo("fifo")));
}

TEST_F(FWFileManagerFactsTest, OnlyALinkItselfIsALink) {
    link("nowhere", "dangling");
    link("loop", "loop");
    folder("folder");
    made("folder/file", "");
    link("folder", "link");
    EXPECT_TRUE(FWFileManager::isSymbolicLinkAtPath(path("dangling")));
    EXPECT_TRUE(FWFileManager::isSymbolicLinkAtPath(path("loop")));
    EXPECT_TRUE(FWFileManager::isSymbolicLinkAtPath(path("link")));
    EXPECT_FALSE(FWFileManager::isSymbolicLinkAtPath(path("link/file")));
    EXPECT_FALSE(FWFileManager::isSymbolicLinkAtPath(path("folder")));
}

TEST_F(FWFileManagerFactsTest, AFolderIsAPackageByItsExtensionOrByWhatIsInIt) {
    folder("Player.app");
    folder("Player.APP");
    folder("Reader");
    folder("Reader/Contents");
    made("Reader/Contents/Info.plist", "");
    folder("plain/Contents");
    made("file.app", "");
    link("Player.app", "link");
    EXPECT_TRUE(FWFileManager::isPackageAtPath(path("Player.app")));
    EXPECT_TRUE(FWFileManager::isPackageAtPath(path("Player.APP/")));
    EXPECT_TRUE(FWFileManager::isPackageAtPath(path("Reader")));
    EXPECT_FALSE(FWFileManager::isPackageAtPath(path("plain")));
    EXPECT_FALSE(FWFileManager::isPackageAtPath(path("file.app")));
    EXPECT_FALSE(FWFileManager::isPackageAtPath(path("link"))) << "by its own name";
}

TEST_F(FWFileManagerFactsTest, SizesFollowLinksAndMayBeLarge) {
    made("file", "text");
    link("file", "link");
    EXPECT_EQ(FWFileManager::fileSize(path("file")), 4U);
    EXPECT_EQ(FWFileManager::fileSize(path("link")), 4U);
    EXPECT_EQ(FWFileManager::fileSize(madeSparse("large", 5'000'000'000)), 5'000'000'000U);
    EXPECT_EQ(FWFileManager::fileSize("/dev/zero"), 0U);
}

TEST_F(FWFileManagerFactsTest, ACreationDateThatWasSetGoesBeforeTheBirth) {
    made("file", "text");
    const auto birth = FWFileManager::creationDateForFile(path("file"));
    ASSERT_NE(birth, std::nullopt);
    FileAttributes attributes;
    attributes.creationDate = *birth - std::chrono::hours(5);
    attributes.modificationDate = *birth - std::chrono::hours(2);
    ASSERT_EQ(setFileAttributes(path("file"), attributes), std::nullopt);
    EXPECT_EQ(FWFileManager::creationDateForFile(path("file")), attributes.creationDate);
    EXPECT_EQ(FWFileManager::modificationDateForFile(path("file")), attributes.modificationDate);
}

TEST_F(FWFileManagerFactsTest, SizesAreToldInStepsOf1024) {
    const std::vector<std::pair<double, std::string>> texts = {
        {0, "0 B"},
        {1, "1 B"},
        {1023, "1023 B"},
        {1024, "1.00 KB"},
        {1536, "1.50 KB"},
        {1'048'575, "1024.00 KB"},
        {1'048'576, "1.00 MB"},
        {1'073'741'823, "1024.00 MB"},
        {1'073'741'824, "1.00 GB"},
        {1'099'511'627'775, "1024.00 GB"},
        {1'099'511'627'776, "1.00 TB"},
        {1.5 * 1'099'511'627'776, "1.50 TB"},
        {1e18, "909494.70 TB"},
    };
    for (const auto& [size, text] : texts) {
        EXPECT_EQ(FWFileManager::formatFileSize(size), text);
    }
}

TEST_F(FWFileManagerFactsTest, OddSizesAreTextsToo) {
    EXPECT_EQ(FWFileManager::formatFileSize(-0.0), "-0 B");
    EXPECT_EQ(FWFileManager::formatFileSize(-5000), "-5000 B");
    EXPECT_EQ(FWFileManager::formatFileSize(0.4), "0 B");
    EXPECT_EQ(FWFileManager::formatFileSize(1023.7), "1024 B");
    EXPECT_EQ(FWFileManager::formatFileSize(kInfinity), "inf TB");
    EXPECT_EQ(FWFileManager::formatFileSize(-kInfinity), "-inf B");
    EXPECT_EQ(FWFileManager::formatFileSize(std::numeric_limits<double>::quiet_NaN()), "nan TB");
    EXPECT_THAT(FWFileManager::formatFileSize(std::numeric_limits<double>::max()),
                testing::EndsWith(".00 TB"));
}

TEST_F(FWFileManagerFactsTest, SetsTheLowestTwelveBitsOfTheMode) {
    made("file", "");
    link("file", "link");
    EXPECT_TRUE(FWFileManager::setPosixPermissions(0640, path("file")));
    EXPECT_EQ(modeOf(path("file")), 0640U);
    EXPECT_TRUE(FWFileManager::setPosixPermissions(0100755U | 04000U, path("link")));
    EXPECT_EQ(modeOf(path("file")), 04755U);
    EXPECT_TRUE(FWFileManager::setPosixPermissions(0700, folder("folder")));
    EXPECT_EQ(modeOf(path("folder")), 0700U);
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerFactsTest, PermissionsThatCannotBeSetAreToldToTheSystemLog) {
    link("loop", "loop");
    EXPECT_FALSE(FWFileManager::setPosixPermissions(0640, path("missing")));
    EXPECT_FALSE(FWFileManager::setPosixPermissions(0640, path("loop")));
    const std::string cut = path("x") + std::string("\0y", 2);
    EXPECT_FALSE(FWFileManager::setPosixPermissions(0640, cut));
    const std::string begin = "Error setting permissions for file ";
    EXPECT_THAT(systemLogged(),
                ElementsAre(begin + path("missing") + ": No such file or directory",
                            begin + path("loop") + ": Too many levels of symbolic links",
                            begin + cut + ": Invalid argument"));
    EXPECT_THAT(logged(), IsEmpty());
}

// Touching

TEST_F(FWFileManagerTouchTest, SetsTheModificationDateToNowAndTheCreationDateWhenAsked) {
    const FileAttributes::Date old(std::chrono::hours(1000));
    FileAttributes attributes;
    attributes.creationDate = old;
    attributes.modificationDate = old;
    ASSERT_EQ(setFileAttributes(made("file", "text"), attributes), std::nullopt);
    const auto before = std::chrono::system_clock::now() - std::chrono::seconds(1);
    EXPECT_TRUE(FWFileManager::touchFile(path("file"), SetCreationDate::kNo));
    EXPECT_GE(FWFileManager::modificationDateForFile(path("file")), before);
    EXPECT_EQ(FWFileManager::creationDateForFile(path("file")), old);
    EXPECT_TRUE(FWFileManager::touchFile(path("file"), SetCreationDate::kYes));
    EXPECT_GE(FWFileManager::creationDateForFile(path("file")), before);
    EXPECT_EQ(contents("file"), "text");
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerTouchTest, MakesNoFile) {
    link("nowhere", "dangling");
    for (const std::string& name : {path("missing"), path("dangling"), std::string()}) {
        EXPECT_FALSE(FWFileManager::touchFile(name, SetCreationDate::kYes));
    }
    EXPECT_FALSE(exists("missing"));
    EXPECT_FALSE(exists("nowhere"));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerTouchTest, FallsBackToRights) {
    const std::string file = link("/proc/version", "file"); // The superuser's.
    EXPECT_FALSE(FWFileManager::touchFile(file, SetCreationDate::kNo));
    answer = true;
    EXPECT_FALSE(FWFileManager::touchFile(file, SetCreationDate::kNo)) << "the tool did nothing";
    whenAsked = [&] {
        fs::remove(file);
        made("file", "has another date");
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1));
    };
    EXPECT_TRUE(FWFileManager::touchFile(file, SetCreationDate::kNo));
    const std::string call = "run /usr/bin/touch -c -- " + file;
    EXPECT_THAT(asked, ElementsAre(call, call, call));
}

TEST_F(FWFileManagerTouchTest, FallsBackToRightsForTheCreationDateToo) {
    ::chmod(made("file", "").c_str(), 0444); // Its owner may set one date but not the other.
    EXPECT_FALSE(FWFileManager::touchFile(path("file"), SetCreationDate::kYes));
    answer = true;
    EXPECT_FALSE(FWFileManager::touchFile(path("file"), SetCreationDate::kYes))
        << "the tool did nothing";
    const std::string begin = "run /usr/bin/xattr -w com.fernwick.creationdate ";
    whenAsked = [&] {
        FileAttributes attributes;
        attributes.creationDate = FileAttributes::Date(
            std::chrono::nanoseconds(std::stoll(asked.back().substr(begin.size()))));
        ::chmod(path("file").c_str(), 0644);
        EXPECT_EQ(setFileAttributes(path("file"), attributes), std::nullopt);
    };
    EXPECT_TRUE(FWFileManager::touchFile(path("file"), SetCreationDate::kYes));
    ASSERT_EQ(asked.size(), 3U);
    EXPECT_THAT(asked, testing::Each(testing::MatchesRegex(begin + "[0-9]+ " + path("file"))));
}

// Waiting

TEST_F(FWFileManagerWaitTest, AFileThatHasContentsIsNotWaitedFor) {
    FWFileManager::waitForFileCreation(made("file", "text"), Timeout{10});
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerWaitTest, LooksOnceAndDoesNotLoopDeliberately) {
    const auto start = std::chrono::steady_clock::now();
    FWFileManager::waitForFileCreation(path("missing"), Timeout{1000});
    FWFileManager::waitForFileCreation(made("empty", ""), Timeout{kInfinity});
    FWFileManager::waitForFileCreation(path("missing"), Timeout{0});
    const auto time = std::chrono::steady_clock::now() - start;
    EXPECT_GE(time, std::chrono::microseconds(1500));
    EXPECT_LT(time, std::chrono::seconds(30));
    const std::string missing = "File " + path("missing") + " is not yet created. Waiting...";
    EXPECT_THAT(
        logged(),
        ElementsAre(missing, "File " + path("empty") + " is not yet created. Waiting...", missing));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerWaitTest, ALimitThatIsNegativeOrNotANumberIsOver) {
    FWFileManager::waitForFileCreation(path("missing"), Timeout{-1});
    FWFileManager::waitForFileCreation(path("missing"),
                                       Timeout{std::numeric_limits<double>::quiet_NaN()});
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerWaitTest, AFileThatStandsStillIsWaitedForASecond) {
    made("file", "text");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(FWFileManager::waitForFileWrites(path("file")));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerWaitTest, AFileThatIsWrittenIsWaitedForUntilItStandsStill) {
    std::ofstream file(path("file"));
    std::chrono::steady_clock::time_point end;
    int left = 15;
    const std::function<void()> write = [&] {
        end = std::chrono::steady_clock::now();
        file << "more" << std::flush;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (--left > 0) {
            postToMainThread(write);
        }
    };
    ASSERT_TRUE(isMainThread());
    postToMainThread(write);
    EXPECT_TRUE(FWFileManager::waitForFileWrites(path("file")));
    EXPECT_GE(std::chrono::steady_clock::now() - end, std::chrono::seconds(1));
    EXPECT_EQ(FWFileManager::fileSize(path("file")), 60U);
    EXPECT_THAT(systemLogged(),
                ElementsAre("File " + path("file") + " is currently being written to. Waiting...",
                            "File " + path("file") + " finished writing."));
}

TEST_F(FWFileManagerWaitTest, AMissingFileIsNotWaitedFor) {
    EXPECT_FALSE(FWFileManager::waitForFileWrites(path("missing")));
    EXPECT_FALSE(FWFileManager::waitForFileWrites("", LockFile::kYes));
    made("file", "");
    ASSERT_TRUE(isMainThread());
    postToMainThread([this] { fs::remove(path("file")); });
    EXPECT_FALSE(FWFileManager::waitForFileWrites(path("file"))) << "gone while it is waited for";
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerWaitTest, ALockThatCannotBeSetIsAFailure) {
    made("file", "");
    EXPECT_FALSE(FWFileManager::waitForFileWrites(path("file"), LockFile::kYes));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Unable to unlock file " + path("file") + ": Operation not permitted"));
}

} // namespace
} // namespace fw
