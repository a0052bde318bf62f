#include "support/files/FileRights.h"

#include "platform/elevation/Elevation.h"
#include "support/FWAuthorization.h"
#include "tests/suite/FileOperationTest.h"

#include <cerrno>
#include <functional>
#include <gmock/gmock.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

/// What tools were to be run with rights; none is.
struct Notes {
    bool isAllowed = true;
    std::function<void()> whenAsked = [] {
    };
    std::vector<std::string> tools;
};

class EndedStream : public ToolStream {
public:
    std::string read() override { return {}; }
};

class NotingAuthorization : public Authorization {
public:
    explicit NotingAuthorization(Notes& notes) : notes_(notes) {}

    bool requestAdministratorRight() override {
        notes_.whenAsked();
        return notes_.isAllowed;
    }
    Result<std::unique_ptr<ToolStream>>
    run(const std::string& tool, const std::vector<std::string>& arguments, ToolOutput) override {
        std::string text = tool;
        for (const std::string& argument : arguments) {
            text.append(" ").append(argument);
        }
        notes_.tools.push_back(text);
        return std::unique_ptr<ToolStream>(std::make_unique<EndedStream>());
    }
    void free() override {}

private:
    Notes& notes_;
};

/// The rights that are in place outside of tests, with nothing behind them.
class FileRightsTest : public FileOperationTest {
protected:
    FileRightsTest() {
        ElevationServices services;
        services.adopted = [] {
            return AuthorizationRef();
        };
        services.create = [this]() -> Result<AuthorizationRef> {
            return AuthorizationRef(std::make_shared<NotingAuthorization>(notes));
        };
        before_ = setElevationServices(std::move(services));
        setFileRights(rightsOfSuite());
    }
    ~FileRightsTest() override {
        FWAuthorization::sharedController().authEnd();
        setElevationServices(std::move(before_));
    }

    Notes notes;

private:
    ElevationServices before_;
};

TEST_F(FileRightsTest, AreThoseOfTheAuthorization) {
    folder("folder");
    made("folder/a", "text");
    made("b", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_TRUE(FWFileManager::removeFile(path("folder/a")));
    EXPECT_TRUE(FWFileManager::createDirectory(path("folder/new")));
    EXPECT_TRUE(FWFileManager::copyFile(path("b"), path("folder/b")));
    EXPECT_TRUE(FWFileManager::moveFile(path("folder/a"), path("c")));
    EXPECT_THAT(notes.tools, ElementsAre("/bin/rm -Rdf " + path("folder/a"),
                                         "/bin/mkdir -p " + path("folder/new"),
                                         "/bin/cp -f -p -R " + path("b") + " " + path("folder/b"),
                                         "/bin/mv -f " + path("folder/a") + " " + path("c")));
    notes.tools.clear();
    EXPECT_TRUE(FWFileManager::trashFile(path("folder/a")));
    ASSERT_FALSE(notes.tools.empty());
    EXPECT_EQ(notes.tools.back(), "/bin/mv -f " + path("folder/a") + " " + trashed("a"));
    EXPECT_EQ(contents("folder/a"), "text") << "nothing was run";
}

TEST_F(FileRightsTest, RemoveWhatAMoveHasLeft) {
    setFoldersApart();
    for (const char* name : {"a", "b"}) {
        folder(std::string(name) + "/inner");
        made(std::string(name) + "/inner/file", "text");
        ::chmod(path(std::string(name) + "/inner").c_str(), 0555);
    }
    EXPECT_TRUE(FWFileManager::moveFile(path("a"), path("moved")));
    EXPECT_TRUE(FWFileManager::trashFile(path("b")));
    EXPECT_THAT(notes.tools, ElementsAre("/bin/rm -Rdf " + path("a"), "/bin/rm -Rdf " + path("b")));
    for (const std::string& place : {path("a"), path("b"), path("moved"), trashed("b")}) {
        ::chmod((place + "/inner").c_str(), 0755);
    }
}

TEST_F(FileRightsTest, RemoveNothingThatComesWhileTheUserIsAsked) {
    setFoldersApart();
    folder("a/inner");
    made("a/inner/file", "text");
    ::chmod(path("a/inner").c_str(), 0555);
    notes.whenAsked = [&] {
        made("a/late", "late");
    };
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("moved")));
    fs::remove(path("a/late"));
    FWAuthorization::sharedController().authEnd();
    EXPECT_FALSE(FWFileManager::trashFile(path("a")));
    EXPECT_EQ(contents("a/late"), "late");
    EXPECT_THAT(notes.tools, IsEmpty());
    for (const std::string& place : {path("a"), path("moved"), trashed("a")}) {
        ::chmod((place + "/inner").c_str(), 0755);
    }
}

TEST_F(FileRightsTest, RemoveWithoutToolsWhatCanBeRemovedWhenTheUserHasAnswered) {
    setFoldersApart();
    folder("a/inner");
    made("a/inner/file", "text");
    ::chmod(path("a/inner").c_str(), 0555);
    notes.whenAsked = [&] {
        ::chmod(path("a/inner").c_str(), 0755);
    };
    EXPECT_TRUE(FWFileManager::moveFile(path("a"), path("moved")));
    EXPECT_FALSE(exists("a"));
    EXPECT_THAT(notes.tools, IsEmpty());
    ::chmod(path("moved/inner").c_str(), 0755);
}

TEST_F(FileRightsTest, RunTools) {
    EXPECT_FALSE(FWFileManager::touchFile("/proc/version", SetCreationDate::kNo))
        << "nothing was run";
    EXPECT_THAT(notes.tools, ElementsAre("/usr/bin/touch -c -- /proc/version"));
}

TEST_F(FileRightsTest, ThatTheUserRefusesAreAFailure) {
    notes.isAllowed = false;
    folder("folder");
    made("folder/a", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/a")));
    EXPECT_FALSE(FWFileManager::trashFile(path("folder/a")));
    EXPECT_FALSE(FWFileManager::createDirectory(path("folder/new"), Timeout{60}));
    EXPECT_THAT(notes.tools, IsEmpty());
}

TEST_F(FileRightsTest, AreNotAskedForWhenTheyMayNotBe) {
    folder("folder");
    made("folder/a", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/a"), ShouldAuth::kNo));
    EXPECT_THAT(notes.tools, IsEmpty());
}

TEST_F(FileRightsTest, ThatAreNotThereCannot) {
    setFileRights({});
    folder("folder");
    made("folder/a", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/a")));
    EXPECT_FALSE(FWFileManager::moveFile(path("folder/a"), path("b")));
    EXPECT_THAT(notes.tools, IsEmpty());
}

} // namespace
} // namespace fw
