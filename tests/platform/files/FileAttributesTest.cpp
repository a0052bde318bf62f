#include "platform/files/FileAttributes.h"

#include "platform/files/ExtendedAttributes.h"
#include "platform/files/FinderInfo.h"
#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace fw {
namespace {

using namespace test;
using Date = FileAttributes::Date;
using std::chrono::nanoseconds;

class FileAttributesTest : public testing::Test {
protected:
    FileAttributesTest() { writeText(path(), "text"); }
    std::string path() const { return folder_.file("a"); }

private:
    TemporaryFolder folder_;
};

TEST_F(FileAttributesTest, AnOrdinaryFileHasItsDatesNoHiddenExtensionAndCodesOfZero) {
    const FileAttributes attributes = fileAttributes(path());
    struct statx status {};
    ASSERT_EQ(::statx(AT_FDCWD, path().c_str(), 0, STATX_ALL, &status), 0);
    ASSERT_TRUE(attributes.creationDate && attributes.modificationDate);
    EXPECT_EQ(std::chrono::floor<std::chrono::seconds>(*attributes.creationDate),
              Date(std::chrono::seconds(status.stx_btime.tv_sec)));
    EXPECT_EQ(*attributes.modificationDate, Date(std::chrono::seconds(status.stx_mtime.tv_sec)) +
                                                nanoseconds(status.stx_mtime.tv_nsec));
    EXPECT_EQ(attributes.isExtensionHidden, false);
    EXPECT_EQ(attributes.creatorCode, 0U);
    EXPECT_EQ(attributes.typeCode, 0U);
}

TEST_F(FileAttributesTest, WhatIsSetIsReadBackToTheNanosecond) {
    const FileAttributes set{.creationDate = Date(nanoseconds(-1)),
                             .modificationDate = Date(nanoseconds(-1'500'000'001)),
                             .isExtensionHidden = true,
                             .creatorCode = 0x46574E4BU,
                             .typeCode = 0xFF00FF01U};
    EXPECT_EQ(setFileAttributes(path(), set), std::nullopt);
    EXPECT_EQ(fileAttributes(path()), set);
    EXPECT_EQ(extendedAttribute(path(), "com.fernwick.creationdate").value(), "-1");
}

TEST_F(FileAttributesTest, WhatIsNotGivenStaysAsItIs) {
    const FileAttributes first{.creationDate = Date(nanoseconds(5)),
                               .modificationDate = Date(nanoseconds(6)),
                               .isExtensionHidden = true,
                               .creatorCode = 7U,
                               .typeCode = 8U};
    EXPECT_EQ(setFileAttributes(path(), first), std::nullopt);
    EXPECT_EQ(setFileAttributes(path(), {}), std::nullopt);
    EXPECT_EQ(fileAttributes(path()), first);
}

TEST_F(FileAttributesTest, OtherBitsOfTheFinderInfoAreKept) {
    std::string info(32, '\0');
    info[9] = 0x0E; // A label.
    info[31] = 1;
    ASSERT_EQ(setExtendedAttribute(path(), "com.apple.FinderInfo", info), std::nullopt);
    FileAttributes hidden;
    hidden.isExtensionHidden = true;
    EXPECT_EQ(setFileAttributes(path(), hidden), std::nullopt);
    info[9] = 0x1E;
    EXPECT_EQ(extendedAttribute(path(), "com.apple.FinderInfo").value(), info);
}

TEST_F(FileAttributesTest, AFinderInfoOfNothingIsNotKept) {
    FileAttributes codes;
    codes.typeCode = 5;
    EXPECT_EQ(setFileAttributes(path(), codes), std::nullopt);
    codes.typeCode = 0;
    EXPECT_EQ(setFileAttributes(path(), codes), std::nullopt);
    EXPECT_EQ(extendedAttribute(path(), "com.apple.FinderInfo").error().code, ENODATA);
    EXPECT_EQ(setFileAttributes(path(), codes), std::nullopt);
}

TEST_F(FileAttributesTest, ALabelStandsInTheFinderInfoBesideTheRest) {
    std::string info(32, '\0');
    info[8] = 0x41;
    info[9] = 0x11;
    ASSERT_EQ(setExtendedAttribute(path(), "com.apple.FinderInfo", info), std::nullopt);
    for (unsigned label : {1U, 7U, 4U, 0U}) {
        FinderInfo changed = FinderInfo::of(path());
        EXPECT_TRUE(changed.takeLabel(label)) << label;
        EXPECT_FALSE(changed.takeLabel(label)) << label;
        EXPECT_EQ(changed.writeTo(path()), std::nullopt);
        EXPECT_EQ(FinderInfo::of(path()).label(), label);
        info[9] = static_cast<char>(0x11 + 2 * label);
        EXPECT_EQ(extendedAttribute(path(), "com.apple.FinderInfo").value(), info);
    }
    EXPECT_TRUE(FinderInfo::of(path()).isExtensionHidden());
}

TEST_F(FileAttributesTest, ACreationDateThatCannotBeReadCountsAsAbsent) {
    const auto birth = fileAttributes(path()).creationDate;
    for (const char* text : {"", "x", "12x", "99999999999999999999", " 1"}) {
        ASSERT_EQ(setExtendedAttribute(path(), "com.fernwick.creationdate", text), std::nullopt);
        EXPECT_EQ(fileAttributes(path()).creationDate, birth) << text;
    }
}

TEST_F(FileAttributesTest, AFileThatIsNotThereHasNone) {
    EXPECT_EQ(fileAttributes(path() + "x"), FileAttributes());
    EXPECT_EQ(fileAttributes(path() + std::string("\0", 1)), FileAttributes());
}

TEST_F(FileAttributesTest, TheFirstErrorIsGivenAndTheRestIsStillSet) {
    FileAttributes dates{.creationDate = Date(nanoseconds(1)),
                         .modificationDate = Date(nanoseconds(2)),
                         .isExtensionHidden = {},
                         .creatorCode = {},
                         .typeCode = {}};
    const auto failure = setFileAttributes(path() + "x", dates);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, ENOENT);
    EXPECT_EQ(setFileAttributes(path() + std::string("\0", 1), dates)->code, EINVAL);
    EXPECT_NE(fileAttributes(path()).creationDate, dates.creationDate);
}

TEST_F(FileAttributesTest, FilesOfTheKernelHaveNoCreationDateAndTakeNone) {
    EXPECT_EQ(fileAttributes("/proc/self/comm").creationDate, std::nullopt);
    EXPECT_TRUE(fileAttributes("/proc/self/comm").modificationDate);
    FileAttributes date;
    date.creationDate = Date(nanoseconds(1));
    EXPECT_EQ(setFileAttributes("/proc/self/comm", date)->code, EOPNOTSUPP);
}

TEST(ExtendedAttributesTest, StandUnderTheirNameWithUserBeforeIt) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a");
    writeText(path, "");
    EXPECT_EQ(extendedAttribute(path, "a.b").error().code, ENODATA);
    EXPECT_EQ(setExtendedAttribute(path, "a.b", std::string_view("v\0w", 3)), std::nullopt);
    char bytes[4] = {};
    EXPECT_EQ(::getxattr(path.c_str(), "user.a.b", bytes, sizeof bytes), 3);
    EXPECT_EQ(extendedAttribute(path, "a.b").value(), std::string("v\0w", 3));
    EXPECT_EQ(removeExtendedAttribute(path, "a.b"), std::nullopt);
    EXPECT_EQ(removeExtendedAttribute(path, "a.b")->code, ENODATA);
    EXPECT_EQ(setExtendedAttribute(path, std::string("a\0b", 3), "")->code, EINVAL);
    EXPECT_EQ(extendedAttribute(path + std::string("\0", 1), "a").error().code, EINVAL);
}

} // namespace
} // namespace fw
