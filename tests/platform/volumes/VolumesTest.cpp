#include "platform/volumes/Volumes.h"

#include "platform/volumes/mountTable.h"
#include "tests/support/FileText.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <thread>

namespace fw {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> mountPointsIn(std::string_view table) {
    std::vector<std::string> mountPoints;
    for (const Volume& volume : volumesInMountTable(table)) {
        mountPoints.push_back(volume.mountPoint);
    }
    return mountPoints;
}

TEST(MountTableTest, ALineIsAVolume) {
    EXPECT_THAT(volumesInMountTable("27 1 254:0 / / rw,relatime - ext4 /dev/vda rw,discard\n"),
                ElementsAre(Volume{"/", "ext4", "/dev/vda", false}));
}

TEST(MountTableTest, OptionalFieldsMayStandBeforeTheHyphen) {
    const Volume volume{"/a", "xfs", "/dev/sdb1", false};
    for (const std::string fields : {"", "shared:1 ", "shared:1 master:2 propagate_from:3 "}) {
        EXPECT_THAT(volumesInMountTable("9 1 8:17 / /a rw " + fields + "- xfs /dev/sdb1 rw"),
                    ElementsAre(volume))
            << fields;
    }
}

TEST(MountTableTest, BlanksAndOtherBytesAreDecoded) {
    EXPECT_THAT(mountPointsIn("9 1 8:1 / /Volumes/My\\040Disk\\011\\012\\134x rw - hfs /dev/a rw"),
                ElementsAre("/Volumes/My Disk\t\n\\x"));
    EXPECT_THAT(mountPointsIn("9 1 8:1 / /\xC3\xA9\xFF\\377 rw - hfs /dev/a rw"),
                ElementsAre("/\xC3\xA9\xFF\xFF"));
    EXPECT_THAT(volumesInMountTable("9 1 0:50 / /a rw - cifs //host/my\\040share rw")[0].source,
                "//host/my share");
}

TEST(MountTableTest, WhatIsNoEscapeStaysAsItIs) {
    EXPECT_THAT(mountPointsIn("9 1 8:1 / /\\04 rw - hfs /dev/a rw"), ElementsAre("/\\04"));
    EXPECT_THAT(mountPointsIn("9 1 8:1 / /\\08x\\ rw - hfs /dev/a rw"), ElementsAre("/\\08x\\"));
}

TEST(MountTableTest, HfsplusIsGivenAsHfsWithAPlus) {
    EXPECT_EQ(volumesInMountTable("9 1 8:1 / /a rw - hfsplus /dev/a rw")[0].type, "hfs+");
    EXPECT_EQ(volumesInMountTable("9 1 8:1 / /a rw - hfs /dev/a rw")[0].type, "hfs");
    EXPECT_EQ(volumesInMountTable("9 1 8:1 / /a rw - fuse.apfs-fuse /dev/a rw")[0].type,
              "fuse.apfs-fuse");
}

TEST(MountTableTest, AVolumeIsReadOnlyWhenItsMountOrItsFileSystemIs) {
    EXPECT_TRUE(volumesInMountTable("9 1 8:1 / /a ro,nodev - hfs /dev/a rw")[0].isReadOnly);
    EXPECT_TRUE(volumesInMountTable("9 1 8:1 / /a rw,nodev - hfs /dev/a ro")[0].isReadOnly);
    EXPECT_FALSE(volumesInMountTable("9 1 8:1 / /a rw,nodev - hfs /dev/a rw,errors=remount-ro")[0]
                     .isReadOnly);
}

TEST(MountTableTest, TheOrderIsTheKernels) {
    EXPECT_THAT(mountPointsIn("2 1 8:1 / /b rw - ext4 /dev/a rw\n"
                              "3 1 8:2 / / rw - ext4 /dev/b rw\n"
                              "4 1 8:3 / /a rw - ext4 /dev/c rw\n"),
                ElementsAre("/b", "/", "/a"));
}

TEST(MountTableTest, OfTwoMountsAtOnePlaceTheLaterCounts) {
    EXPECT_THAT(
        volumesInMountTable("2 1 8:1 / /a rw - ext4 /dev/a rw\n"
                            "3 1 8:2 / /b rw - ext4 /dev/b rw\n"
                            "4 1 8:3 / /a ro - xfs /dev/c rw\n"),
        ElementsAre(Volume{"/a", "xfs", "/dev/c", true}, Volume{"/b", "ext4", "/dev/b", false}));
    EXPECT_THAT(mountPointsIn("2 1 8:1 / /a rw - ext4 /dev/a rw\n"
                              "3 1 0:2 / /a rw - proc proc rw\n"),
                IsEmpty())
        << "what lies below cannot be seen";
}

TEST(MountTableTest, WhatTheKernelShowsOfItselfIsNoVolume) {
    EXPECT_THAT(mountPointsIn("2 1 0:1 / /proc rw - proc proc rw\n"
                              "3 1 0:2 / /sys rw - sysfs sysfs rw\n"
                              "4 1 0:3 / /dev rw - devtmpfs devtmpfs rw\n"
                              "5 1 0:4 / /sys/fs/cgroup rw - cgroup2 cgroup2 rw\n"
                              "6 1 0:5 / /mnt/auto rw - autofs systemd-1 rw\n"),
                IsEmpty());
}

TEST(MountTableTest, DisksMemoryAndServersFoldersAreVolumes) {
    EXPECT_THAT(
        mountPointsIn("2 1 0:1 / /tmp rw - tmpfs tmpfs rw\n"
                      "3 1 0:2 / /Volumes/San rw - nfs4 host:/san rw\n"
                      "4 1 0:3 / /Volumes/Share rw - cifs //host/share rw\n"
                      "5 1 0:4 / /pool rw - zfs pool rw\n"
                      "6 1 0:5 / / rw - overlay overlay rw\n"
                      "7 1 0:6 / /Volumes/New rw - somefs none rw\n"),
        ElementsAre("/tmp", "/Volumes/San", "/Volumes/Share", "/pool", "/", "/Volumes/New"));
}

TEST(MountTableTest, LinesOfAnotherFormArePassedOver) {
    EXPECT_THAT(volumesInMountTable(""), IsEmpty());
    EXPECT_THAT(volumesInMountTable("\n\n \n"), IsEmpty());
    EXPECT_THAT(volumesInMountTable("2 1 8:1 / /a rw"), IsEmpty());
    EXPECT_THAT(volumesInMountTable("2 1 8:1 / /a rw -"), IsEmpty());
    EXPECT_THAT(volumesInMountTable("2 1 8:1 / /a rw - ext4"), IsEmpty());
    EXPECT_THAT(volumesInMountTable("2 1 8:1 / /a rw - ext4 /dev/a"), IsEmpty());
    EXPECT_THAT(mountPointsIn("2 1 8:1\n3 1 8:2 / /b rw - ext4 /dev/b rw"), ElementsAre("/b"));
}

// The machine

/// What may be none at all, where a folder has been made the root.
std::vector<Volume> machinesVolumes() {
    return volumesInMountTable(test::readText("/proc/self/mountinfo"));
}

TEST(VolumesTest, AreThoseInTheMachinesMountTable) {
    EXPECT_EQ(mountedVolumes(), machinesVolumes());
}

TEST(VolumesTest, AnotherListCanBePutInPlace) {
    const Volume volume{"/a", "apfs", "/dev/a", false};
    EXPECT_FALSE(setVolumeList([volume] { return std::vector{volume}; }));
    EXPECT_THAT(mountedVolumes(), ElementsAre(volume));
    EXPECT_TRUE(setVolumeList({}));
    EXPECT_EQ(mountedVolumes(), machinesVolumes());
}

TEST(VolumesTest, CanBeAskedFromManyThreadsWhileTheListChanges) {
    const std::vector<Volume> machines = machinesVolumes();
    const std::vector<Volume> others = {{"/", "hfs", "", false}};
    std::array<std::jthread, 4> asking;
    for (std::jthread& thread : asking) {
        thread = std::jthread([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                EXPECT_THAT(mountedVolumes(), AnyOf(machines, others));
            }
        });
    }
    for (int i = 0; i < 300; ++i) {
        setVolumeList([&] { return others; });
        setVolumeList({});
    }
}

} // namespace
} // namespace fw
