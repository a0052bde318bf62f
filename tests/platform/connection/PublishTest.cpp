#include "platform/connection/ParentConnection.h"
#include "platform/connection/SocketPath.h"
#include "platform/connection/UnixSocket.h"
#include "tests/platform/connection/RecordingParent.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace fw {
namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "Oxbow - /movie.mov";

class Publish : public testing::Test {
protected:
    Publish() : folders_{{folder_.path(), false}} {}

    Result<std::unique_ptr<ParentServer>> publish() {
        return ParentServer::publish(kName, {}, folders_);
    }
    bool isFound() const {
        ParentConnectionOptions options;
        options.runtimeFolders = folders_;
        return connectionWithOptions(kName, options) != nullptr;
    }
    std::string pathIn(const std::string& runtimeFolder) const {
        return *socketPath({runtimeFolder, false}, socketFileStem(kName));
    }
    static bool isEmptyFolder(const std::string& path) { return fs::is_empty(path); }

    test::TemporaryFolder folder_;
    std::vector<RuntimeFolder> folders_;
};

/// A parent in a process of its own, which can be killed.
class ParentProcess {
public:
    ParentProcess(const std::vector<RuntimeFolder>& folders, int readyDescriptor) {
        processId_ = ::fork();
        if (processId_ == 0) {
            auto server = ParentServer::publish(kName, {}, folders);
            const char answer = server ? 'y' : 'n';
            static_cast<void>(!::write(readyDescriptor, &answer, 1));
            ::pause();
            ::_exit(0);
        }
    }
    ~ParentProcess() { kill(); }
    void kill() {
        if (processId_ > 0) {
            ::kill(processId_, SIGKILL);
            ::waitpid(processId_, nullptr, 0);
            processId_ = 0;
        }
    }
    pid_t processId() const { return processId_; }

private:
    pid_t processId_ = 0;
};

/// Starts one and waits until it has published.
std::unique_ptr<ParentProcess> startParent(const std::vector<RuntimeFolder>& folders) {
    int ends[2] = {};
    if (::pipe(ends) != 0) {
        return nullptr;
    }
    auto parent = std::make_unique<ParentProcess>(folders, ends[1]);
    ::close(ends[1]);
    char answer = 0;
    const ssize_t length = ::read(ends[0], &answer, 1);
    ::close(ends[0]);
    return length == 1 && answer == 'y' ? std::move(parent) : nullptr;
}

TEST_F(Publish, WithoutAParentThereIsNoConnection) {
    EXPECT_FALSE(isFound());
}

TEST_F(Publish, AParentIsFoundUnderItsNameAndNoOther) {
    const auto server = publish();
    ASSERT_TRUE(server);
    EXPECT_EQ(server.value()->socketPath(), pathIn(folder_.path()));
    EXPECT_TRUE(isFound());
    ParentConnectionOptions options;
    options.runtimeFolders = folders_;
    EXPECT_EQ(connectionWithOptions("Oxbow - /movie.mov ", options), nullptr);
}

TEST_F(Publish, FolderAndSocketAreForTheUserAlone) {
    const auto server = publish();
    ASSERT_TRUE(server);
    struct stat facts = {};
    ASSERT_EQ(::stat(folder_.file("oxbow").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777U, 0700U);
    ASSERT_EQ(::stat(server.value()->socketPath().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777U, 0600U);
}

TEST_F(Publish, NothingIsLeftOnceTheServerHasGone) {
    {
        const auto server = publish();
        ASSERT_TRUE(server);
        EXPECT_FALSE(isEmptyFolder(folder_.file("oxbow")));
    }
    EXPECT_TRUE(isEmptyFolder(folder_.file("oxbow")));
    EXPECT_FALSE(isFound());
    EXPECT_TRUE(publish()) << "the name is free again";
}

TEST_F(Publish, TheSecondParentOfANameIsToldOfTheFirst) {
    const auto parent = startParent(folders_);
    ASSERT_NE(parent, nullptr);
    const auto second = publish();
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().domain, ParentServer::kDomain);
    EXPECT_EQ(second.error().code,
              static_cast<std::int64_t>(ParentServer::ErrorCode::kAlreadyPublished));
    EXPECT_EQ(second.error().description, "This movie is being scanned already (process " +
                                              std::to_string(parent->processId()) + ").");
    EXPECT_TRUE(isFound()) << "the first parent's socket stays";
}

TEST_F(Publish, TwoInOneProcessAreRefusedToo) {
    const auto first = publish();
    ASSERT_TRUE(first);
    const auto second = publish();
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().description,
              "This movie is being scanned already (process " + std::to_string(::getpid()) + ").");
}

TEST_F(Publish, TwoNamesDoNotMeet) {
    const auto first = publish();
    ASSERT_TRUE(first);
    EXPECT_TRUE(ParentServer::publish("Oxbow - /other.mov", {}, folders_));
}

TEST_F(Publish, AKilledParentsSocketIsAnAbsentParentAndIsReplaced) {
    auto parent = startParent(folders_);
    ASSERT_NE(parent, nullptr);
    parent->kill();
    ASSERT_TRUE(fs::exists(pathIn(folder_.path())));
    EXPECT_FALSE(isFound());
    const auto server = publish();
    ASSERT_TRUE(server) << server.error().description;
    EXPECT_TRUE(isFound());
}

TEST_F(Publish, ALivingSocketWithoutALockFileIsRefused) {
    ASSERT_EQ(::mkdir(folder_.file("oxbow").c_str(), 0700), 0);
    const FileDescriptor other = listenAtSocket(pathIn(folder_.path()));
    ASSERT_TRUE(other);
    const auto server = publish();
    ASSERT_FALSE(server);
    EXPECT_EQ(server.error().description,
              "This movie is being scanned already (process " + std::to_string(::getpid()) + ").");
    EXPECT_TRUE(fs::exists(pathIn(folder_.path())));
}

TEST_F(Publish, APlainFileInTheSocketsPlaceIsReplaced) {
    ASSERT_EQ(::mkdir(folder_.file("oxbow").c_str(), 0700), 0);
    std::ofstream(pathIn(folder_.path())) << "text";
    EXPECT_FALSE(isFound());
    EXPECT_TRUE(publish());
}

class PublishWithTwoFolders : public Publish {
protected:
    PublishWithTwoFolders() {
        first_ = folder_.file("first");
        second_ = folder_.file("second");
        ::mkdir(first_.c_str(), 0700);
        ::mkdir(second_.c_str(), 0700);
        folders_ = {{first_, false}, {second_, false}};
    }
    void expectSecondIsTaken() {
        const auto server = publish();
        ASSERT_TRUE(server) << server.error().description;
        EXPECT_EQ(server.value()->socketPath(), pathIn(second_));
        EXPECT_TRUE(isFound());
    }
    std::string first_;
    std::string second_;
};

TEST_F(PublishWithTwoFolders, TheFirstIsTaken) {
    const auto server = publish();
    ASSERT_TRUE(server);
    EXPECT_EQ(server.value()->socketPath(), pathIn(first_));
}

TEST_F(PublishWithTwoFolders, AMissingOneIsPassedOver) {
    fs::remove(first_);
    expectSecondIsTaken();
    EXPECT_FALSE(fs::exists(first_));
}

TEST_F(PublishWithTwoFolders, OneThatOthersMayEnterIsPassedOver) {
    ::chmod(first_.c_str(), 0755);
    expectSecondIsTaken();
}

TEST_F(PublishWithTwoFolders, ALinkIsPassedOver) {
    fs::remove(first_);
    fs::create_directory_symlink(second_, first_);
    expectSecondIsTaken();
}

TEST_F(PublishWithTwoFolders, OneWhoseSocketFolderOthersMayEnterIsPassedOver) {
    fs::create_directory(first_ + "/oxbow");
    fs::permissions(first_ + "/oxbow", fs::perms(0755));
    expectSecondIsTaken();
}

TEST_F(PublishWithTwoFolders, OneWhoseSocketFolderIsALinkIsPassedOver) {
    fs::create_directory_symlink(second_, first_ + "/oxbow");
    expectSecondIsTaken();
}

TEST_F(PublishWithTwoFolders, OneThatIsSomebodyElsesIsPassedOver) {
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(first_.c_str(), 65534, 65534), 0);
    } else {
        folders_[0].path = "/root";
    }
    expectSecondIsTaken();
}

TEST_F(PublishWithTwoFolders, OneWithATooLongPathIsPassedOver) {
    folders_[0].path = first_ + "/" + std::string(60, 'x');
    ASSERT_EQ(::mkdir(folders_[0].path.c_str(), 0700), 0);
    expectSecondIsTaken();
}

TEST_F(PublishWithTwoFolders, AScannerDoesNotTrustASocketInAFolderThatOthersMayEnter) {
    const auto server = publish();
    ASSERT_TRUE(server);
    ASSERT_TRUE(isFound());
    ::chmod((first_ + "/oxbow").c_str(), 0755);
    EXPECT_FALSE(isFound());
    ::chmod((first_ + "/oxbow").c_str(), 0700);
    ::chmod(first_.c_str(), 0711);
    EXPECT_FALSE(isFound());
}

TEST_F(PublishWithTwoFolders, AScannerDoesNotTrustAListenerOfAnotherUser) {
    if (::geteuid() != 0) {
        // Only root can play both parts: a listener of its own user is trusted.
        const auto server = publish();
        ASSERT_TRUE(server);
        EXPECT_TRUE(isFound());
        return;
    }
    const auto server = publish();
    ASSERT_TRUE(server);
    int ends[2] = {};
    ASSERT_EQ(::pipe(ends), 0);
    fs::create_directory(second_ + "/oxbow");
    ::chmod((second_ + "/oxbow").c_str(), 0700);
    const pid_t child = ::fork();
    if (child == 0) {
        // Inside root's own folder, as a listener of user 65534: bound first, then given up.
        const FileDescriptor place(::open((second_ + "/oxbow").c_str(), O_PATH | O_DIRECTORY));
        const bool isReady = ::chdir((second_ + "/oxbow").c_str()) == 0 &&
                             ::chmod(".", 0777) == 0 && ::setegid(65534) == 0 &&
                             ::seteuid(65534) == 0;
        const FileDescriptor listener = listenAtSocket(socketFileStem(kName) + ".sock");
        const char answer = isReady && listener ? 'y' : 'n';
        static_cast<void>(!::write(ends[1], &answer, 1));
        ::pause();
        ::_exit(0);
    }
    char answer = 0;
    ASSERT_EQ(::read(ends[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    ::close(ends[0]);
    ::close(ends[1]);
    ::chmod((second_ + "/oxbow").c_str(), 0700);
    folders_ = {{second_, false}};
    EXPECT_TRUE(connectToSocket(pathIn(second_))) << "somebody listens";
    EXPECT_FALSE(isFound());
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST_F(Publish, AFolderThatIsMadeByUsIsMadePrivate) {
    folders_ = {{folder_.file("made"), true}};
    const auto server = publish();
    ASSERT_TRUE(server);
    EXPECT_TRUE(isPrivateFolder(folder_.file("made")));
    EXPECT_TRUE(isPrivateFolder(folder_.file("made/oxbow")));
}

TEST_F(Publish, WithoutAPrivateFolderItSaysWhatItTried) {
    ::chmod(folder_.path().c_str(), 0755);
    const auto server = publish();
    ASSERT_FALSE(server);
    EXPECT_EQ(server.error().code, static_cast<std::int64_t>(ParentServer::ErrorCode::kNoFolder));
    EXPECT_THAT(server.error().description, testing::HasSubstr(folder_.path().string()));
    ::chmod(folder_.path().c_str(), 0700);
}

TEST_F(Publish, ALockFileThatCannotBeOpenedIsASystemError) {
    ASSERT_EQ(::mkdir(folder_.file("oxbow").c_str(), 0700), 0);
    const std::string lock = folder_.file("oxbow/" + socketFileStem(kName) + ".lock");
    ASSERT_EQ(::mkdir(lock.c_str(), 0700), 0);
    const auto server = publish();
    ASSERT_FALSE(server);
    EXPECT_EQ(server.error().code, static_cast<std::int64_t>(ParentServer::ErrorCode::kSystem));
}

} // namespace
} // namespace fw
