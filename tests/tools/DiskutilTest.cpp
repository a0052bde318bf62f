#include "base/text.h"
#include "platform/plist/PropertyListFile.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/VolumeHolding.h"

#include <gtest/gtest.h>

#include <sys/statvfs.h>

namespace fw {
namespace {

using namespace test;

constexpr const char* kUsage = "diskutil: usage: diskutil info -plist MOUNTPOINT\n";

ProgramRun diskutil(const std::vector<std::string>& arguments) {
    return programRun(FW_TOOL_DISKUTIL, arguments);
}

TEST(DiskutilTest, TellsOfAVolumeAsAPropertyList) {
    const TemporaryFolder folder;
    const std::optional<Volume> volume = volumeHolding(folder.path());
    if (!volume) {
        GTEST_SKIP() << "no volume is mounted here";
    }
    const std::string& place = volume->mountPoint;
    const ProgramRun run = diskutil({"info", "-plist", place});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    auto list = propertyListFromBytes(run.output);
    ASSERT_TRUE(list);
    PropertyListDictionary facts = list.value();
    struct statvfs sizes {};
    ASSERT_EQ(::statvfs(place.c_str(), &sizes), 0);
    EXPECT_EQ(facts["MountPoint"], PropertyListValue{place});
    EXPECT_EQ(facts["VolumeName"], PropertyListValue{std::string(lastPathComponent(place))});
    EXPECT_EQ(facts["FilesystemType"], PropertyListValue{volume->type});
    EXPECT_EQ(facts["WritableVolume"], PropertyListValue{!volume->isReadOnly});
    EXPECT_EQ(facts["TotalSize"],
              PropertyListValue{static_cast<std::int64_t>(sizes.f_blocks * sizes.f_frsize)});
    EXPECT_EQ(facts["VolumeAllocationBlockSize"],
              PropertyListValue{static_cast<std::int64_t>(sizes.f_frsize)});
    ASSERT_NE(facts["FreeSpace"].get<std::int64_t>(), nullptr);
    EXPECT_GE(*facts["FreeSpace"].get<std::int64_t>(), 0) << "the disk may be full";
    EXPECT_LE(*facts["FreeSpace"].get<std::int64_t>(), *facts["TotalSize"].get<std::int64_t>());
    if (volume->source.starts_with("/dev/")) {
        EXPECT_EQ(facts["DeviceNode"], PropertyListValue{volume->source});
        EXPECT_EQ(facts["DeviceIdentifier"],
                  PropertyListValue{std::string(lastPathComponent(volume->source))});
    } else {
        EXPECT_EQ(facts.count("DeviceNode"), 0U);
    }
}

TEST(DiskutilTest, WhatIsNoMountPointIsNotFound) {
    const TemporaryFolder folder;
    for (const std::string& path :
         {folder.path().string(), std::string("/nonexistent"), std::string(),
          std::string("caf\xC3\xA9 \xFF"), std::string("-x")}) {
        EXPECT_EQ(diskutil({"info", "-plist", path}),
                  (ProgramRun{1, "", "diskutil: Could not find disk: " + path + "\n"}));
    }
}

TEST(DiskutilTest, OtherArgumentsAreRefused) {
    using Arguments = std::vector<std::string>;
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"info"}, Arguments{"info", "/"}, Arguments{"info", "-plist"},
          Arguments{"-plist", "info", "/"}, Arguments{"eraseDisk", "-plist", "/"},
          Arguments{"info", "-plist", "/", "/"}}) {
        EXPECT_EQ(diskutil(arguments), (ProgramRun{64, "", kUsage}));
    }
}

} // namespace
} // namespace fw
