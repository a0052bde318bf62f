#include "support/FWFileManager.h"

#include "platform/tools/toolPath.h"
#include "tests/suite/FileTest.h"
#include "tests/suite/ForcedVolumes.h"
#include "tests/support/VolumeHolding.h"

#include <array>
#include <gmock/gmock.h>
#include <sys/statvfs.h>
#include <thread>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Volume volumeAt(const std::string& mountPoint, const std::string& type = "ext4") {
    return {mountPoint, type, "", false};
}

const char* const kNowhere = "/Volumes/no such volume of tests";

// Whether a volume is there

TEST(MountedVolumeOfPathTest, APathElsewhereCountsAsMounted) {
    for (const char* path : {"", "/", "/tmp/x", "relative/x", "/volumes/x/y", "Volumes/x/y"}) {
        EXPECT_TRUE(FWFileManager::isDriveMountedForPath(path)) << path;
        EXPECT_TRUE(FWFileManager::isVolumeMountedForPath(path)) << path;
    }
}

TEST(MountedVolumeOfPathTest, FewerThanThreeComponentsCountAsMounted) {
    for (const char* path : {"/Volumes", "/Volumes/", "/Volumes//", "/VolumesX", "/VolumesX/"}) {
        EXPECT_TRUE(FWFileManager::isDriveMountedForPath(path)) << path;
        EXPECT_TRUE(FWFileManager::isVolumeMountedForPath(path)) << path;
    }
}

TEST(MountedVolumeOfPathTest, AVolumeWithoutAFolderIsNotMounted) {
    for (const std::string end : {"", "/", "/a", "/a/b/c", "//a"}) {
        EXPECT_FALSE(FWFileManager::isDriveMountedForPath(kNowhere + end)) << end;
        EXPECT_FALSE(FWFileManager::isVolumeMountedForPath(kNowhere + end)) << end;
    }
    EXPECT_FALSE(FWFileManager::isVolumeMountedForPath("/Volumes/\xFF\xFE/a"));
    EXPECT_FALSE(FWFileManager::isVolumeMountedForPath(std::string("/Volumes/\0/a", 12)));
}

/// Deliberate: only one of the two wants a slash after "/Volumes".
TEST(MountedVolumeOfPathTest, OtherFoldersThatBeginWithVolumesAreAskedForByOneOnly) {
    EXPECT_TRUE(FWFileManager::isDriveMountedForPath("/VolumesOfNobody/a/b"));
    EXPECT_FALSE(FWFileManager::isVolumeMountedForPath("/VolumesOfNobody/a/b"));
}

// The mount point

TEST(VolumeMountPointTest, IsTheVolumeThatIsOrHoldsThePath) {
    const ForcedVolumes forced({volumeAt("/"), volumeAt("/Volumes/Disk"), volumeAt("/home")});
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/Volumes/Disk"), "/Volumes/Disk");
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/Volumes/Disk/"), "/Volumes/Disk");
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/Volumes/Disk/a/b"), "/Volumes/Disk");
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/home/me"), "/home");
}

TEST(VolumeMountPointTest, ALongerNameIsAnotherVolume) {
    const ForcedVolumes forced({volumeAt("/Volumes/Disk"), volumeAt("/home")});
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/Volumes/Disk 1/a"), std::nullopt);
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/homely"), "/");
}

TEST(VolumeMountPointTest, WithoutOneItIsTheRootButForVolumes) {
    const ForcedVolumes forced({volumeAt("/home")});
    for (const char* path : {"/", "/tmp/a", "", "relative", "/volumes/a"}) {
        EXPECT_EQ(FWFileManager::volumeMountPointForPath(path), "/") << path;
    }
    for (const char* path : {"/Volumes", "/Volumes/", "/Volumes/a/b", "/VolumesX"}) {
        EXPECT_EQ(FWFileManager::volumeMountPointForPath(path), std::nullopt) << path;
    }
}

/// Deliberate: not the nearest.
TEST(VolumeMountPointTest, TheFirstInTheMachinesOrderCounts) {
    const ForcedVolumes forced(
        {volumeAt("/a"), volumeAt("/a/b"), volumeAt("/c/d"), volumeAt("/c")});
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/a/b/x"), "/a");
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/c/d/x"), "/c/d");
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/c/x"), "/c");
}

TEST(VolumeMountPointTest, NamesAreBytes) {
    const ForcedVolumes forced({volumeAt("/Volumes/\xFF\xFE"), volumeAt("/Volumes/Caf\xC3\xA9")});
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/Volumes/\xFF\xFE/a"), "/Volumes/\xFF\xFE");
    EXPECT_EQ(FWFileManager::volumeMountPointForPath("/Volumes/Caf\xC3\xA9/\xFF"),
              "/Volumes/Caf\xC3\xA9");
}

// The file system

TEST(FilesystemTest, IsThatOfTheVolume) {
    const ForcedVolumes forced({volumeAt("/Volumes/Disk", "hfs+"), volumeAt("/", "ext4")});
    EXPECT_EQ(FWFileManager::filesystemForPath("/Volumes/Disk/a"), "hfs+");
    EXPECT_EQ(FWFileManager::filesystemForPath("/tmp/a"), "ext4");
    EXPECT_EQ(FWFileManager::filesystemForPath("/Volumes/Other/a"), "");
}

TEST(FilesystemTest, IsUnknownWithoutVolumes) {
    const ForcedVolumes forced(std::vector<Volume>{});
    EXPECT_EQ(FWFileManager::filesystemForPath("/"), "");
    EXPECT_FALSE(FWFileManager::isMacFilesystemAtPath("/"));
}

TEST(FilesystemTest, OfEachOfTheMachinesVolumesIsKnown) {
    const std::vector<Volume> volumes = mountedVolumes();
    if (volumes.empty()) {
        GTEST_SKIP() << "no volume is mounted here";
    }
    for (const Volume& volume : volumes) {
        EXPECT_NE(FWFileManager::filesystemForPath(volume.mountPoint), "") << volume.mountPoint;
    }
}

TEST(FilesystemTest, IsAMacsWhateverItsCapitals) {
    for (const char* type : {"hfs", "hfs+", "apfs", "HFS", "Hfs+", "APFS"}) {
        const ForcedVolumes forced(type);
        EXPECT_TRUE(FWFileManager::isMacFilesystemAtPath("/a")) << type;
    }
    for (const char* type : {"ext4", "hfsplus", "hfsx", "tmpfs", "", "apfs ", "fuse.apfs"}) {
        const ForcedVolumes forced(type);
        EXPECT_FALSE(FWFileManager::isMacFilesystemAtPath("/a")) << type;
    }
}

TEST(FilesystemTest, CanBeAskedForFromManyThreads) {
    const ForcedVolumes forced({volumeAt("/Volumes/Disk", "apfs"), volumeAt("/", "ext4")});
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
        thread = std::jthread([] {
            for (int i = 0; i < 500; ++i) {
                EXPECT_TRUE(FWFileManager::isMacFilesystemAtPath("/Volumes/Disk/a"));
                EXPECT_FALSE(FWFileManager::isMacFilesystemAtPath("/tmp"));
                EXPECT_EQ(FWFileManager::volumeMountPointForPath("/tmp"), "/");
            }
        });
    }
}

// The disk

class DiskInformationTest : public FileTest {
protected:
    ~DiskInformationTest() override { setStandInTools({}); }

    /// A tool in diskutil's place: a shell script.
    void putInPlace(const std::string& script) const {
        const std::string tool = made("tool", "#!/bin/sh\n" + script);
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
        setStandInTools({{"/usr/sbin/diskutil", tool}});
    }
};

TEST_F(DiskInformationTest, IsWhatTheToolTells) {
    const std::optional<Volume> volume = volumeHolding(path(""));
    if (!volume) {
        GTEST_SKIP() << "no volume is mounted here";
    }
    const std::string& place = volume->mountPoint;
    PropertyListDictionary facts = FWFileManager::infoForDiskAtMountpoint(place);
    struct statvfs sizes {};
    ASSERT_EQ(::statvfs(place.c_str(), &sizes), 0);
    EXPECT_EQ(facts["MountPoint"], PropertyListValue{place});
    EXPECT_EQ(facts["FilesystemType"], PropertyListValue{volume->type});
    EXPECT_EQ(facts["TotalSize"],
              PropertyListValue{static_cast<std::int64_t>(sizes.f_blocks * sizes.f_frsize)});
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(DiskInformationTest, TheToolIsAskedForAPropertyListOfTheMountPoint) {
    putInPlace("printf '<%s>' \"$@\" > '" + path("asked") + "'\n");
    FWFileManager::infoForDiskAtMountpoint("/Volumes/My Disk \xFF");
    EXPECT_EQ(contents("asked"), "<info><-plist></Volumes/My Disk \xFF>");
}

TEST_F(DiskInformationTest, OfNoOutputThereIsNoneAndNoMessage) {
    putInPlace("exit 1\n");
    EXPECT_THAT(FWFileManager::infoForDiskAtMountpoint("/"), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(DiskInformationTest, OutputThatIsNoPropertyListIsToldToTheSystemLog) {
    const char* const kMessage =
        "Error converting diskutil output: This is no property list with a dictionary.";
    putInPlace("echo 'no list'\n");
    EXPECT_THAT(FWFileManager::infoForDiskAtMountpoint("/"), IsEmpty());
    putInPlace("echo '<plist><array/></plist>'\n");
    EXPECT_THAT(FWFileManager::infoForDiskAtMountpoint("/"), IsEmpty());
    EXPECT_THAT(systemLogged(), ElementsAre(kMessage, kMessage));
}

TEST_F(DiskInformationTest, OfWhatIsNoMountPointThereIsNone) {
    EXPECT_THAT(FWFileManager::infoForDiskAtMountpoint(path("nothing")), IsEmpty());
    EXPECT_THAT(systemLogged(), SizeIs(1)) << "the tool's reason is no list";
}

TEST_F(DiskInformationTest, AMissingToolIsLogged) {
    setStandInTools({{"/usr/sbin/diskutil", path("missing")}});
    EXPECT_EQ(printedBy([] { FWFileManager::infoForDiskAtMountpoint("/"); }),
              "Error: /usr/sbin/diskutil is not executable\n");
    EXPECT_THAT(logged(), ElementsAre("Error: /usr/sbin/diskutil is not executable"));
}

} // namespace
} // namespace fw
