#include "platform/plist/PropertyListFile.h"
#include "tests/support/OwnRootTest.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using namespace test;

class MountedVolumeTest : public OwnRootTest {
protected:
    /// The facts of a volume of 1 MiB that is mounted at $P with the options.
    PropertyListDictionary factsOfVolume(const std::string& mountPoint,
                                         const std::string& options) const {
        const OwnRoot::Outcome outcome = root.run("P=$(printf '" + mountPoint + "')\n" +
                                                      "mkdir -p \"$P\"\n"
                                                      "mount -t tmpfs -o size=1m" +
                                                      options +
                                                      " tmpfs \"$P\"\n"
                                                      "$PROGRAMS/diskutil info -plist \"$P/\"\n",
                                                  {FW_TOOL_DISKUTIL});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        auto list = propertyListFromBytes(outcome.output);
        EXPECT_TRUE(list) << outcome.output;
        return list ? list.value() : PropertyListDictionary();
    }
};

TEST_F(MountedVolumeTest, IsToldOfByItsMountPoint) {
    PropertyListDictionary facts = factsOfVolume("/Volumes/My Disk", "");
    EXPECT_EQ(facts["MountPoint"], PropertyListValue{std::string("/Volumes/My Disk")});
    EXPECT_EQ(facts["VolumeName"], PropertyListValue{std::string("My Disk")});
    EXPECT_EQ(facts["FilesystemType"], PropertyListValue{std::string("tmpfs")});
    EXPECT_EQ(facts["TotalSize"], PropertyListValue{std::int64_t{1} << 20});
    EXPECT_EQ(facts["FreeSpace"], PropertyListValue{std::int64_t{1} << 20});
    EXPECT_EQ(facts["WritableVolume"], PropertyListValue{true});
    EXPECT_EQ(facts.count("DeviceNode"), 0U);
}

TEST_F(MountedVolumeTest, CanBeReadOnlyAndHaveANameThatIsNoText) {
    PropertyListDictionary facts = factsOfVolume("/Volumes/a\\134b\\011\\377", ",ro");
    EXPECT_EQ(facts["VolumeName"], PropertyListValue{std::string("a\\b\t\xEF\xBF\xBD")});
    EXPECT_EQ(facts["WritableVolume"], PropertyListValue{false});
}

} // namespace
} // namespace fw
