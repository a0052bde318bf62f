#include "support/SharedPreferences.h"

#include "platform/plist/PropertyListFile.h"
#include "tests/support/FileText.h"
#include "tests/support/TestHome.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <limits>

namespace fw {
namespace {

class SharedPreferencesFile : public testing::Test {
protected:
    SharedPreferencesFile() {
        std::filesystem::create_directories(home.path() + "/Library/Preferences");
    }
    std::string path() const { return home.file("Library/Preferences/com.fernwick.global.plist"); }
    bool isOnWith(const PropertyListValue& value) const {
        EXPECT_EQ(writePropertyList(path(), {{"disable-logging", value}}), std::nullopt);
        return SharedPreferences::isSwitchedOn(SharedPreferences::kDisableLogging);
    }
    static bool isOn() { return SharedPreferences::isSwitchedOn("disable-logging"); }

    test::TestHome home;
};

TEST_F(SharedPreferencesFile, LiesInTheUsersPreferencesFolder) {
    EXPECT_EQ(SharedPreferences::path(), path());
}

TEST_F(SharedPreferencesFile, HasNoPathWhereThePreferencesFolderIsUnknown) {
    setFolderServices({.realUserId = [] { return test::TestHome::kUser; },
                       .search =
                           [](FolderKind, FolderDomainMask) {
                               return std::vector<std::string>();
                           }});
    EXPECT_EQ(SharedPreferences::path(), "");
    EXPECT_FALSE(isOn());
}

TEST_F(SharedPreferencesFile, TheKeysAreThoseOfTheSuite) {
    EXPECT_STREQ(SharedPreferences::kDisableLogging, "disable-logging");
    EXPECT_STREQ(SharedPreferences::kDisableCrashReporter, "disable-crash-reporter");
}

TEST_F(SharedPreferencesFile, TheTextOneSwitchesOn) {
    EXPECT_TRUE(isOnWith({std::string("1")}));
}

TEST_F(SharedPreferencesFile, BooleanTrueAndNumbersEqualToItSwitchOn) {
    EXPECT_TRUE(isOnWith({true}));
    EXPECT_TRUE(isOnWith({std::int64_t{1}}));
    EXPECT_TRUE(isOnWith({1.0}));
}

TEST_F(SharedPreferencesFile, OtherTextsDoNot) {
    for (const char* text : {"", "0", "01", "1.0", " 1", "1 ", "true", "YES", "2"}) {
        EXPECT_FALSE(isOnWith({std::string(text)})) << text;
    }
}

TEST_F(SharedPreferencesFile, OtherNumbersDoNot) {
    EXPECT_FALSE(isOnWith({false}));
    for (const std::int64_t number : {0, 2, -1}) {
        EXPECT_FALSE(isOnWith({number})) << number;
    }
    for (const double number : {0.0, 0.5, 2.0, -1.0, std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(isOnWith({number})) << number;
    }
    EXPECT_FALSE(isOnWith({std::numeric_limits<double>::quiet_NaN()}));
}

TEST_F(SharedPreferencesFile, OtherKindsOfValuesDoNot) {
    EXPECT_FALSE(isOnWith({PropertyListData{std::byte{'1'}}}));
    EXPECT_FALSE(isOnWith({PropertyListDate(std::chrono::seconds(1))}));
    EXPECT_FALSE(isOnWith({PropertyListArray{{true}}}));
    EXPECT_FALSE(isOnWith({PropertyListDictionary{{"disable-logging", {true}}}}));
    EXPECT_FALSE(isOnWith({ForeignPropertyListValue{"<integer>18446744073709551615</integer>"}}));
}

TEST_F(SharedPreferencesFile, EachKeyIsItsOwn) {
    ASSERT_TRUE(isOnWith({true}));
    EXPECT_FALSE(SharedPreferences::isSwitchedOn(SharedPreferences::kDisableCrashReporter));
    EXPECT_FALSE(SharedPreferences::isSwitchedOn("Disable-Logging"));
    EXPECT_FALSE(SharedPreferences::isSwitchedOn(""));
}

TEST_F(SharedPreferencesFile, IsReadAtEachCall) {
    EXPECT_TRUE(isOnWith({true}));
    EXPECT_FALSE(isOnWith({false}));
    EXPECT_TRUE(isOnWith({true}));
}

TEST_F(SharedPreferencesFile, AFileThatIsMissingOrCannotBeReadSwitchesNothingOn) {
    EXPECT_FALSE(isOn());
    test::writeText(path(), "no property list");
    EXPECT_FALSE(isOn());
    test::writeText(path(), "<plist version=\"1.0\"><array><string>1</string></array></plist>");
    EXPECT_FALSE(isOn());
    std::filesystem::remove(path());
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    EXPECT_FALSE(isOn());
}

} // namespace
} // namespace fw
