#include "support/FWFileManager.h"

#include "base/dates.h"
#include "platform/files/ExtendedAttributes.h"
#include "platform/files/FileAttributes.h"
#include "platform/tools/toolPath.h"
#include "platform/workspace/Workspace.h"
#include "tests/suite/FileTest.h"
#include "tests/suite/ForcedVolumes.h"

#include <cerrno>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

using Date = FileAttributes::Date;

constexpr const char* kProgress = "com.apple.progress.fractionCompleted";
constexpr const char* kFinderInfo = "com.apple.FinderInfo";
const char* const kOddNames[] = {"clip.mov", "caf\xC3\xA9 100%@", "\xFF\xFE", "-d"};

class FinderTest : public FileTest {
protected:
    /// What an attribute holds; nothing when there is none.
    static std::optional<std::string> attribute(const std::string& path, const char* name) {
        const Result<std::string> value = extendedAttribute(path, name);
        return value ? std::optional(value.value()) : std::nullopt;
    }
    void expectSilence() const {
        EXPECT_THAT(logged(), IsEmpty());
        EXPECT_THAT(systemLogged(), IsEmpty());
    }
};

// Progress

class FinderProgressTest : public FinderTest {
protected:
    ~FinderProgressTest() override { setStandInTools({}); }

    static std::string creationDate(const std::string& path) {
        const auto date = fileAttributes(path).creationDate;
        return date ? dateDescription(*date) : std::string();
    }
    static constexpr const char* kMarkerDate = "1984-01-24 08:00:00 +0000";
    static constexpr const char* kRefusal =
        "Unable to set Finder progress - this is not an Apple-formatted drive.";
};

TEST_F(FinderProgressTest, WritesTheFractionAndTheMarkerDate) {
    const ForcedVolumes forced("apfs");
    for (const char* const name : kOddNames) {
        const std::string file = made(name, "x");
        const auto modified = fileAttributes(file).modificationDate;
        FWFileManager::setFinderProgress(0.25F, file);
        EXPECT_EQ(attribute(file, kProgress), "0.250");
        EXPECT_EQ(creationDate(file), kMarkerDate);
        EXPECT_EQ(fileAttributes(file).modificationDate, modified);
    }
    expectSilence();
}

TEST_F(FinderProgressTest, ANegativeFractionRemovesItAndGivesTheModificationDate) {
    const ForcedVolumes forced("hfs+");
    for (const char* const name : kOddNames) {
        const std::string file = made(name, "x");
        FileAttributes dates;
        dates.modificationDate = Date(std::chrono::seconds(1'000'000'000));
        ASSERT_EQ(setFileAttributes(file, dates), std::nullopt);
        FWFileManager::setFinderProgress(0.5F, file);
        FWFileManager::setFinderProgress(-0.5F, file);
        EXPECT_EQ(attribute(file, kProgress), std::nullopt);
        EXPECT_EQ(fileAttributes(file).creationDate, dates.modificationDate);
        EXPECT_EQ(fileAttributes(file).modificationDate, dates.modificationDate);
    }
    expectSilence();
}

TEST_F(FinderProgressTest, RemovingIsANegativeFraction) {
    const ForcedVolumes forced("hfs");
    const std::string file = made("a", "x");
    FWFileManager::setFinderProgress(1, file);
    EXPECT_EQ(attribute(file, kProgress), "1.000");
    FWFileManager::removeFinderProgressForFile(file);
    EXPECT_EQ(attribute(file, kProgress), std::nullopt);
    EXPECT_EQ(fileAttributes(file).creationDate, fileAttributes(file).modificationDate);
    FWFileManager::removeFinderProgressForFile(file);
    expectSilence();
}

TEST_F(FinderProgressTest, FractionsAreWrittenWithThreeDecimals) {
    const ForcedVolumes forced("apfs");
    const std::string file = made("a", "x");
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::vector<std::pair<float, std::string>> texts = {
        {0.0F, "0.000"},       {-0.0F, "-0.000"}, {0.0004F, "0.000"},         {0.9996F, "1.000"},
        {1.0F / 3, "0.333"},   {7.5F, "7.500"},   {1e10F, "10000000000.000"}, {kInfinity, "inf"},
        {std::nanf(""), "nan"}};
    for (const auto& [fraction, text] : texts) {
        FWFileManager::setFinderProgress(fraction, file);
        EXPECT_EQ(attribute(file, kProgress), text);
    }
    FWFileManager::setFinderProgress(-kInfinity, file);
    EXPECT_EQ(attribute(file, kProgress), std::nullopt);
}

TEST_F(FinderProgressTest, OnOtherVolumesNothingIsTouchedAndAMessagePrinted) {
    const std::string file = made("a", "x");
    const FileAttributes before = fileAttributes(file);
    for (const char* type : {"ext4", "tmpfs", "hfsplus", ""}) {
        const ForcedVolumes forced(type);
        EXPECT_EQ(printedBy([&] { FWFileManager::setFinderProgress(0.5F, file); }),
                  std::string(kRefusal).append("\n"));
    }
    const ForcedVolumes forced("ext4");
    EXPECT_EQ(printedBy([&] { FWFileManager::removeFinderProgressForFile(file); }),
              std::string(kRefusal).append("\n"));
    EXPECT_EQ(attribute(file, kProgress), std::nullopt);
    EXPECT_EQ(fileAttributes(file), before);
    EXPECT_EQ(logged(), std::vector<std::string>(5, kRefusal));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FinderProgressTest, AMissingFileIsPassedOverInSilence) {
    const ForcedVolumes forced("ext4");
    fs::create_symlink("nowhere", path("dangling"));
    for (const std::string& file : {path("missing"), path("dangling"), std::string(),
                                    made("a", "x") + std::string("\0", 1)}) {
        EXPECT_EQ(printedBy([&] { FWFileManager::setFinderProgress(0.5F, file); }), "");
    }
    EXPECT_FALSE(exists("missing"));
    expectSilence();
}

TEST_F(FinderProgressTest, WithoutItsToolTheDateIsStillSet) {
    const ForcedVolumes forced("apfs");
    setStandInTools({{"/usr/bin/xattr", path("missing")}});
    const std::string file = made("a", "x");
    EXPECT_EQ(printedBy([&] { FWFileManager::setFinderProgress(0.5F, file); }),
              "Error: /usr/bin/xattr is not executable\n");
    EXPECT_EQ(attribute(file, kProgress), std::nullopt);
    EXPECT_EQ(creationDate(file), kMarkerDate);
    EXPECT_THAT(logged(), ElementsAre("Error: /usr/bin/xattr is not executable"));
}

// Events

class FinderEventTest : public FinderTest {
protected:
    FinderEventTest() {
        WorkspaceServices services;
        services.sendDesktopEvent = [this](const DesktopEvent& event) {
            events.push_back(event);
            return status;
        };
        before_ = setWorkspaceServices(services);
    }
    ~FinderEventTest() override { setWorkspaceServices(before_); }

    std::vector<DesktopEvent> events;
    std::int32_t status = 0;

private:
    WorkspaceServices before_;
};

DesktopEvent fileChanged(const std::string& path) {
    return {0x666E6472, 0x66757064, 0x4D414353, path}; // fndr, fupd, MACS
}

TEST_F(FinderEventTest, AChangedFileIsToldToTheBrowser) {
    const std::string file = made("\xFF a", "x");
    FWFileManager::notifyFileSystemChanged(file);
    fs::create_directory(path("folder"));
    EXPECT_EQ(SendFinderSyncEvent({path("folder")}), 0);
    EXPECT_THAT(events, ElementsAre(fileChanged(file), fileChanged(path("folder"))));
    expectSilence();
}

TEST_F(FinderEventTest, TheStatusIsThatOfSending) {
    status = -600;
    EXPECT_EQ(SendFinderSyncEvent({made("a", "")}), -600);
}

TEST_F(FinderEventTest, OfAMissingFileNothingIsSent) {
    EXPECT_EQ(SendFinderSyncEvent({path("missing")}), -43);
    EXPECT_EQ(SendFinderSyncEvent({""}), -43);
    FWFileManager::notifyFileSystemChanged(path("missing"));
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(FinderEventTest, OnThisMachineEventsAreTaken) {
    setWorkspaceServices({});
    EXPECT_EQ(SendFinderSyncEvent({made("a", "")}), 0);
}

// Metadata

class MetadataTest : public FinderTest {};

TEST_F(MetadataTest, AValueIsWrittenAndRead) {
    const ForcedVolumes forced("apfs");
    for (const char* const name : kOddNames) {
        const std::string file = made(name, "x");
        for (const std::string value : {"text", "caf\xC3\xA9 100%@", "", "two\nlines"}) {
            FWFileManager::setMetadataValue(value, "com.fernwick.note", file);
            EXPECT_EQ(FWFileManager::metadataValueForKey("com.fernwick.note", file), value);
            EXPECT_EQ(attribute(file, "com.fernwick.note"), value) << "no byte more";
        }
    }
    expectSilence();
}

TEST_F(MetadataTest, OnOtherVolumesNothingIsTouched) {
    const ForcedVolumes forced("ext4");
    const std::string file = made("a", "x");
    ASSERT_EQ(setExtendedAttribute(file, "k", "there"), std::nullopt);
    EXPECT_EQ(FWFileManager::metadataValueForKey("k", file), "");
    FWFileManager::setMetadataValue("new", "k", file);
    EXPECT_EQ(attribute(file, "k"), "there");
    EXPECT_THAT(
        systemLogged(),
        ElementsAre("Unable to get Finder metadata - this is not an Apple-formatted drive.",
                    "Unable to set Finder metadata - this is not an Apple-formatted drive."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(MetadataTest, AFailingReadIsToldWithItsNumber) {
    const ForcedVolumes forced("apfs");
    EXPECT_EQ(FWFileManager::metadataValueForKey("k", made("a", "x")), "");
    EXPECT_EQ(FWFileManager::metadataValueForKey("k", path("missing")), "");
    EXPECT_EQ(FWFileManager::metadataValueForKey(std::string("k\0", 2), path("a")), "");
    EXPECT_THAT(systemLogged(), ElementsAre("Error retrieving file attribute: 61",
                                            "Error retrieving file attribute: 2",
                                            "Error retrieving file attribute: 22"));
}

TEST_F(MetadataTest, AFailingWriteIsToldWithPathAndNumber) {
    const ForcedVolumes forced("apfs");
    const std::string prefix = "Error setting extended attribute for file ";
    const std::string file = made("\xFF 100%@", "x");
    FWFileManager::setMetadataValue("v", "k", path("missing"));
    FWFileManager::setMetadataValue("v", std::string(300, 'k'), file);
    FWFileManager::setMetadataValue(std::string(70'000, 'v'), "k", file);
    EXPECT_THAT(systemLogged(), ElementsAre(prefix + path("missing") + " - 2",
                                            prefix + file + " - 34", prefix + file + " - 7"));
}

TEST_F(MetadataTest, AValueThatIsNoTextIsEmpty) {
    const ForcedVolumes forced("apfs");
    const std::string file = made("a", "x");
    ASSERT_EQ(setExtendedAttribute(file, "k", "\xFF\xFE"), std::nullopt);
    EXPECT_EQ(FWFileManager::metadataValueForKey("k", file), "");
    expectSilence();
}

// Labels

class LabelTest : public FinderTest {};

TEST_F(LabelTest, ALabelIsSetReadAndTakenAway) {
    const ForcedVolumes forced("hfs+");
    const std::string file = made("\xFF", "x");
    EXPECT_EQ(FWFileManager::finderColorIndexForPath(file), 0);
    EXPECT_EQ(FWFileManager::finderColorForPath(file), std::nullopt);
    for (std::int64_t index = 1; index <= 7; ++index) {
        FWFileManager::setFinderColorIndex(index, file);
        EXPECT_EQ(FWFileManager::finderColorIndexForPath(file), index);
        EXPECT_EQ(FWFileManager::finderColorForPath(file),
                  FWFileManager::finderColorForColorIndex(index));
    }
    std::string info(32, '\0');
    info[9] = 0x0E;
    EXPECT_EQ(attribute(file, kFinderInfo), info);
    FWFileManager::setFinderColorIndex(0, file);
    EXPECT_EQ(FWFileManager::finderColorIndexForPath(file), 0);
    EXPECT_EQ(attribute(file, kFinderInfo), std::nullopt);
    expectSilence();
}

TEST_F(LabelTest, AFolderCanHaveOne) {
    const ForcedVolumes forced("apfs");
    fs::create_directory(path("folder"));
    FWFileManager::setFinderColorIndex(6, path("folder"));
    EXPECT_EQ(FWFileManager::finderColorIndexForPath(path("folder")), 6);
}

TEST_F(LabelTest, TheRestOfTheFinderInfoStays) {
    const ForcedVolumes forced("apfs");
    const std::string file = made("a", "x");
    FileAttributes attributes;
    attributes.isExtensionHidden = true;
    attributes.typeCode = 0x4D6F6F56;
    ASSERT_EQ(setFileAttributes(file, attributes), std::nullopt);
    FWFileManager::setFinderColorIndex(3, file);
    FWFileManager::setFinderColorIndex(0, file);
    EXPECT_EQ(fileAttributes(file).isExtensionHidden, true);
    EXPECT_EQ(fileAttributes(file).typeCode, 0x4D6F6F56U);
}

TEST_F(LabelTest, OtherNumbersChangeNothing) {
    const ForcedVolumes forced("apfs");
    const std::string file = made("a", "x");
    FWFileManager::setFinderColorIndex(5, file);
    for (const std::int64_t index :
         {std::int64_t{-1}, std::int64_t{8}, std::int64_t{1} << 32,
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
        FWFileManager::setFinderColorIndex(index, file);
        EXPECT_EQ(FWFileManager::finderColorIndexForPath(file), 5) << index;
        EXPECT_EQ(FWFileManager::finderColorForColorIndex(index), std::nullopt) << index;
    }
}

TEST_F(LabelTest, OnOtherVolumesThereAreNone) {
    const std::string file = made("a", "x");
    {
        const ForcedVolumes forced("apfs");
        FWFileManager::setFinderColorIndex(5, file);
    }
    const ForcedVolumes forced("ext4");
    EXPECT_EQ(FWFileManager::finderColorIndexForPath(file), 0);
    EXPECT_EQ(FWFileManager::finderColorForPath(file), std::nullopt);
    const auto before = attribute(file, kFinderInfo);
    FWFileManager::setFinderColorIndex(2, file);
    EXPECT_EQ(attribute(file, kFinderInfo), before);
    expectSilence();
}

TEST_F(LabelTest, AMissingFileHasNone) {
    const ForcedVolumes forced("apfs");
    FWFileManager::setFinderColorIndex(2, path("missing"));
    EXPECT_EQ(FWFileManager::finderColorIndexForPath(path("missing")), 0);
    EXPECT_FALSE(exists("missing"));
    expectSilence();
}

TEST_F(LabelTest, ColorsAreThoseOfTheBrowser) {
    const FinderColor expected[] = {{0.0, 0.0, 0.72, 1.0},     {0.2056, 0.5, 0.85, 1.0},
                                    {0.7917, 0.26, 0.86, 1.0}, {0.5789, 0.56, 0.98, 1.0},
                                    {0.1388, 0.54, 0.95, 1.0}, {0.0083, 0.54, 1.0, 1.0},
                                    {0.0888, 0.52, 0.98, 1.0}};
    for (std::int64_t index = 1; index <= 7; ++index) {
        EXPECT_EQ(FWFileManager::finderColorForColorIndex(index), expected[index - 1]) << index;
    }
    EXPECT_EQ(FWFileManager::finderColorForColorIndex(0), std::nullopt);
}

} // namespace
} // namespace fw
