#include "tests/oxbow/OxbowProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>

namespace fw::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A terminal of a size, and what was written to it.
class Terminal {
public:
    explicit Terminal(unsigned short columns) {
        winsize size = {24, columns, 0, 0};
        if (::openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) {
            throw std::runtime_error("no terminal");
        }
        // Keeps it out of the programs that are started.
        ::fcntl(master_, F_SETFD, FD_CLOEXEC);
    }
    ~Terminal() {
        ::close(master_);
        ::close(slave_);
    }
    int programsEnd() const { return slave_; }

    const std::string& text() {
        pollfd readable = {master_, POLLIN, 0};
        while (::poll(&readable, 1, 0) > 0) {
            char block[4096];
            const ssize_t length = ::read(master_, block, sizeof block);
            if (length <= 0) {
                break;
            }
            text_.append(block, static_cast<std::size_t>(length));
        }
        return text_;
    }

private:
    int master_ = -1;
    int slave_ = -1;
    std::string text_;
};

class ProgressOnATerminal : public testing::Test {
protected:
    ~ProgressOnATerminal() override { EXPECT_TRUE(house_.isCleanedUp()); }

    OxbowHouse house_{OxbowHouse::Scanner::kFake};
};

TEST_F(ProgressOnATerminal, IsOneLineThatIsGoneAtTheEnd) {
    Terminal terminal(80);
    house_.setScript("frames 0 2\nfault 2 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto oxbow = house_.start({"scan", house_.movie()}, {-1, terminal.programsEnd()});
    ASSERT_TRUE(comesTrue([&] { return terminal.text().find("frame 2  ") != std::string::npos; }));
    oxbow->signal(SIGINT);
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 2);
    EXPECT_THAT(terminal.text(), HasSubstr(" %  "));
    EXPECT_THAT(terminal.text(), HasSubstr("1 fault"));
    EXPECT_THAT(terminal.text(), Not(HasSubstr("\n"))) << "one line, written over and over";
    EXPECT_TRUE(terminal.text().ends_with(" \r")) << "emptied";
    EXPECT_THAT(scan.output, Not(HasSubstr("fps"))) << "results hold no progress";
}

TEST_F(ProgressOnATerminal, DoesNotWrapOnANarrowOne) {
    constexpr unsigned short kColumns = 20;
    Terminal terminal(kColumns);
    house_.setScript("frames 0 2\nsleep");
    const auto oxbow = house_.start({"scan", house_.movie()}, {-1, terminal.programsEnd()});
    ASSERT_TRUE(comesTrue([&] { return terminal.text().find("frame 1  ") != std::string::npos; }));
    oxbow->signal(SIGINT);
    oxbow->wait();
    std::size_t column = 0;
    for (const char c : terminal.text()) {
        column = c == '\r' ? 0 : c == '\b' ? column - 1 : column + 1;
        ASSERT_LT(column, kColumns);
    }
}

TEST_F(ProgressOnATerminal, FaultLinesStandByThemselves) {
    Terminal terminal(80);
    house_.setScript("frames 0 2\nfault 2 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto oxbow =
        house_.start({"scan", house_.movie()}, {terminal.programsEnd(), terminal.programsEnd()});
    ASSERT_TRUE(comesTrue([&] { return terminal.text().find("1 fault") != std::string::npos; }));
    oxbow->signal(SIGINT);
    oxbow->wait();
    // The terminal turns a line end into a return and a line end.
    EXPECT_THAT(terminal.text(),
                testing::ContainsRegex("(^|\r)frame 2  00:00:00:2  Blacks too low[^\r]*\r\n"));
}

TEST_F(ProgressOnATerminal, JsonHasProgressToo) {
    Terminal terminal(80);
    house_.setScript("frames 0 2\nsleep");
    const auto oxbow =
        house_.start({"scan", "--json", house_.movie()}, {-1, terminal.programsEnd()});
    ASSERT_TRUE(comesTrue([&] { return terminal.text().find("frame 1  ") != std::string::npos; }));
    oxbow->signal(SIGINT);
    EXPECT_TRUE(oxbow->wait().output.starts_with("{"));
}

} // namespace
} // namespace fw::test
