#include "platform/crash/CrashReport.h"

#include "tests/platform/crash/CrashRun.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <ucontext.h>
#include <unistd.h>

namespace fw {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

/// Reports of a signal that did not come.
class CrashReportTest : public testing::Test {
protected:
    void write() const {
        siginfo_t facts{};
        facts.si_signo = SIGSEGV;
        facts.si_code = SEGV_ACCERR;
        facts.si_addr = reinterpret_cast<void*>(0x1234);
        ucontext_t context{};
        PreparedReport(settings).write(SIGSEGV, facts, &context);
    }

    std::vector<fs::path> files() const {
        std::vector<fs::path> paths;
        for (const auto& entry : fs::directory_iterator(folder.path())) {
            paths.push_back(entry.path());
        }
        return paths;
    }

    std::string report() const {
        write();
        const std::vector<fs::path> paths = files();
        EXPECT_EQ(paths.size(), 1U);
        std::ifstream file(paths.at(0), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    test::TemporaryFolder folder;
    CrashReportSettings settings{folder.path().string(), "Tool", "1.2.3", "/opt/x/Tool", {"Tool"}};
};

TEST_F(CrashReportTest, SaysWhatIsKnown) {
    const std::string text = report();
    EXPECT_EQ(test::fact(text, "Application"), "Tool");
    EXPECT_EQ(test::fact(text, "Version"), "1.2.3");
    EXPECT_EQ(test::fact(text, "Executable"), "/opt/x/Tool");
    EXPECT_EQ(test::fact(text, "Process"), std::to_string(::getpid()));
    EXPECT_EQ(test::fact(text, "Thread"), std::to_string(::gettid()));
    EXPECT_EQ(test::fact(text, "Signal"), "SIGSEGV (11), code SEGV_ACCERR (2), address 0x1234");
    EXPECT_THAT(text, HasSubstr("\nArguments: 1\n[0] Tool\n"));
}

TEST_F(CrashReportTest, SaysTheSameTimeInItsNameAndInItsText) {
    using std::chrono::system_clock; // std::time() runs up to a tick behind it.
    const std::time_t before = system_clock::to_time_t(system_clock::now());
    const std::string text = test::fact(report(), "Time");
    const std::time_t after = system_clock::to_time_t(system_clock::now());
    std::tm time{};
    const char* const rest = ::strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &time);
    ASSERT_NE(rest, nullptr);
    EXPECT_THAT(rest, testing::MatchesRegex("\\.[0-9]{3} UTC"));
    EXPECT_GE(::timegm(&time), before);
    EXPECT_LE(::timegm(&time), after);

    char name[64];
    std::strftime(name, sizeof name, "Tool_%Y-%m-%d-%H%M%S_", &time);
    EXPECT_EQ(files().at(0).filename().string(), name + std::to_string(::getpid()) + ".crash");
}

TEST_F(CrashReportTest, IsForItsOwnerOnly) {
    const mode_t before = ::umask(0);
    write();
    ::umask(before);
    struct stat facts {};
    ASSERT_EQ(::stat(files().at(0).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode, static_cast<mode_t>(S_IFREG | S_IRUSR | S_IWUSR));
}

TEST_F(CrashReportTest, NeverReplacesAnother) {
    const std::string text = report();
    const std::string first = files().at(0).filename().string();
    for (int i = 0; i < 4; ++i) {
        write();
    }
    std::vector<std::string> plain;
    std::vector<std::string> numbered;
    for (const fs::path& path : files()) {
        const std::string name = path.filename().string();
        const bool isNumbered =
            testing::Matches(testing::ContainsRegex("_[0-9]+_[2-5]\\.crash$"))(name);
        (isNumbered ? numbered : plain).push_back(name);
    }
    EXPECT_EQ(plain.size() + numbered.size(), 5U);
    EXPECT_FALSE(numbered.empty()) << "five take less than four seconds";
    EXPECT_THAT(plain, testing::Contains(first));
    EXPECT_LT(first, numbered.at(0)) << "the last by name is the newest";
    std::ifstream file(folder.file(first), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), text);
}

TEST_F(CrashReportTest, WritesThroughNoLink) {
    const std::string victim = folder.file("victim");
    std::ofstream(victim) << "kept";
    // Whatever second it will be.
    const std::time_t now = std::time(nullptr);
    for (std::time_t second = now; second < now + 60; ++second) {
        char name[64];
        std::tm time{};
        std::strftime(name, sizeof name, "Tool_%Y-%m-%d-%H%M%S_", ::gmtime_r(&second, &time));
        fs::create_symlink(victim, folder.file(name + std::to_string(::getpid()) + ".crash"));
    }
    write();
    EXPECT_EQ(fs::file_size(victim), 4U);
}

TEST_F(CrashReportTest, ManyLongAndOddArgumentsStayReadable) {
    settings.arguments = {
        "", "a b", "line\nbreak\r", "Caf\xC3\xA9 \xFF", "back\\slash", std::string(2000, 'x')};
    settings.arguments.resize(150, "more");
    const std::string text = report();
    EXPECT_THAT(text, HasSubstr("\nArguments: 150\n[0] \n[1] a b\n[2] line\\x0abreak\\x0d\n"
                                "[3] Caf\xC3\xA9 \\xff\n[4] back\\\\slash\n[5] xxx"));
    EXPECT_THAT(text, HasSubstr("xxx... (2000 bytes)\n[6] more\n"));
    EXPECT_THAT(text, HasSubstr("\n[99] more\n... and 50 more\n\nBacktrace:\n"));
}

TEST_F(CrashReportTest, OddTextsOfTheProgramBreakNoLine) {
    settings.version = "1\nSignal: none";
    settings.executable = "/opt/new\nline";
    const std::string text = report();
    EXPECT_EQ(test::fact(text, "Version"), "1\\x0aSignal: none");
    EXPECT_EQ(test::fact(text, "Executable"), "/opt/new\\x0aline");
}

TEST_F(CrashReportTest, WithoutAFolderThereIsNoReport) {
    settings.folder.clear();
    // At the root, where a path without its folder would lead.
    settings.applicationName = folder.path().string().substr(1) + "/Tool";
    write();
    EXPECT_TRUE(files().empty());
}

TEST_F(CrashReportTest, AFolderWithANulNamesNoOther) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    settings.folder.append(1, '\0').append("more");
    write();
    fs::current_path(before);
    EXPECT_TRUE(files().empty());
}

} // namespace
} // namespace fw
