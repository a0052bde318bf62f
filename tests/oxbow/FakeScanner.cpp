// A scanner that does what the file named by FAKE_SCANNER_SCRIPT says, a command a line. It
// leaves its process id in SCRIPT.pid and its arguments, each ended by a zero byte, in SCRIPT.args.

#include "base/PlatformException.h"
#include "platform/connection/ConnectionName.h"
#include "platform/connection/ParentConnection.h"

#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace fw::test {
namespace {

constexpr int kParentGone = 77;
constexpr int kUnknownCommand = 78;

/// The rest of a line after its command.
std::string restOf(std::istream& line) {
    std::string text;
    std::getline(line >> std::ws, text);
    return text;
}

std::int64_t numberOf(std::istream& line) {
    std::int64_t number = 0;
    line >> number;
    return number;
}

class FakeScanner {
public:
    explicit FakeScanner(std::shared_ptr<ParentProxy> parent) : parent_(std::move(parent)) {}

    void run(const std::string& command, std::istream& line) {
        if (command == "frames") {
            const std::int64_t first = numberOf(line);
            sendFrames(first, numberOf(line));
        } else if (command == "frames-for-ever") {
            sendFrames(0, INT64_MAX);
        } else if (command == "fault") {
            const std::int64_t frame = numberOf(line);
            sendFault(frame, restOf(line));
        } else if (command == "finish") {
            parent_->frameProcessingFinished();
        } else if (command == "fail") {
            parent_->frameProcessingFailedWithError({"test", 5, restOf(line)});
        } else {
            runWithoutParent(command, line);
        }
    }

private:
    static void runWithoutParent(const std::string& command, std::istream& line) {
        if (command == "print") {
            std::cout << restOf(line) << std::endl;
        } else if (command == "say") {
            std::cerr << restOf(line) << std::endl;
        } else if (command == "flood") {
            std::cerr << std::string(static_cast<std::size_t>(numberOf(line)), 'x') << std::flush;
        } else if (command == "ignore") {
            ::signal(static_cast<int>(numberOf(line)), SIG_IGN);
        } else if (command == "kill") {
            ::kill(::getpid(), static_cast<int>(numberOf(line)));
        } else if (command == "exit") {
            ::_exit(static_cast<int>(numberOf(line)));
        } else if (command == "sleep") {
            while (true) {
                ::pause();
            }
        } else {
            ::_exit(kUnknownCommand);
        }
    }

    void sendFrames(std::int64_t first, std::int64_t end) {
        for (FrameReport report{first, {}, {}, {}, {}, {}}; report.frame < end; ++report.frame) {
            parent_->frameProcessed(report);
        }
    }

    void sendFault(std::int64_t frame, const std::string& message) {
        FrameReport report;
        report.frame = frame;
        report.timecode = "00:00:00:" + std::to_string(frame);
        report.val = frame * 1000;
        report.timescale = 25000;
        report.errors = {message};
        parent_->frameProcessed(report);
    }

    std::shared_ptr<ParentProxy> parent_;
};

int runScript(const std::string& script, int argc, char** argv) {
    std::ofstream(script + ".pid") << ::getpid() << std::endl;
    std::ofstream arguments(script + ".args", std::ios::binary);
    for (int i = 1; i < argc; ++i) {
        arguments << argv[i] << '\0';
    }
    arguments.close();
    const auto connection = connectionWithRegisteredName(connectionNameForMovie(argv[1]));
    FakeScanner scanner(connection ? connection->rootProxy() : nullptr);
    std::ifstream commands(script);
    for (std::string text; std::getline(commands, text);) {
        std::istringstream line(text);
        std::string command;
        line >> command;
        scanner.run(command, line);
    }
    return 0;
}

} // namespace
} // namespace fw::test

int main(int argc, char** argv) {
    const char* const script = std::getenv("FAKE_SCANNER_SCRIPT");
    if (script == nullptr || argc < 2) {
        return fw::test::kUnknownCommand;
    }
    try {
        return fw::test::runScript(script, argc, argv);
    } catch (const fw::PlatformException&) {
        return fw::test::kParentGone;
    }
}
