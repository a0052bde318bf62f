#include "oxbow/ScannerRun.h"

#include "platform/connection/ConnectionName.h"
#include "platform/connection/ParentServer.h"

#include <poll.h>

#include <array>
#include <utility>

namespace fw {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTick{200};
/// After the scanner's end nothing new is sent: what has not come in this time never will.
constexpr std::chrono::milliseconds kLastMessages{1000};
/// Far more than the one line that the scanner prints.
constexpr std::size_t kMostOutput = 65536;

class ScannerSession {
public:
    ScannerSession(const ScannerRunOptions& options, const ScannerRunEvents& events,
                   SignalWatch& signals)
        : options_(options), events_(events), signals_(signals) {}

    std::optional<Error> start() {
        auto server = ParentServer::publish(connectionNameForMovie(options_.arguments.at(0)),
                                            operations(), options_.runtimeFolders);
        if (!server) {
            return server.error();
        }
        server_ = std::move(server).value();
        ChildProcessOptions program;
        program.path = options_.scanner;
        program.arguments = options_.arguments;
        program.standardOutput = ChildStream::kPipe;
        program.standardError = ChildStream::kPipe;
        auto child = ChildProcess::start(program);
        if (!child) {
            Error error = child.error();
            error.description = "The scanner " + options_.scanner +
                                " cannot be started: " + error.description + ".";
            return error;
        }
        child_ = std::move(child).value();
        return std::nullopt;
    }

    ScannerRunOutcome serve() {
        std::optional<ChildEnd> end;
        while (!(end = child_->poll())) {
            waitForEvents();
            takeSignals();
            takeOutput();
            server_->dispatch();
            tick();
        }
        // Ctrl-C reaches the scanner as well, which may be gone before we have looked.
        takeSignals();
        takeLastMessages();
        takeOutput();
        outcome_.end = *end;
        outcome_.errorLine = errorLine();
        return std::move(outcome_);
    }

private:
    ParentOperations operations() {
        ParentOperations operations;
        operations.callback = [](const std::string&) {
        };
        operations.frameProcessed = [this](const FrameReport& report) {
            if (events_.report) {
                events_.report(report);
            }
        };
        operations.frameProcessingFailedWithError = [this](const Error& error) {
            outcome_.failure = error;
        };
        operations.frameProcessingFinished = [this] {
            outcome_.isFinished = true;
        };
        return operations;
    }

    void waitForEvents() const {
        // poll passes over descriptors below zero: streams that have ended.
        std::array<pollfd, 5> descriptors = {{{server_->pollDescriptor(), POLLIN, 0},
                                              {child_->endDescriptor(), POLLIN, 0},
                                              {child_->outputDescriptor(), POLLIN, 0},
                                              {child_->errorDescriptor(), POLLIN, 0},
                                              {signals_.descriptor(), POLLIN, 0}}};
        ::poll(descriptors.data(), descriptors.size(), static_cast<int>(kTick.count()));
    }

    /// The first signal asks the scanner to end; another one, or too long a wait, kills it.
    void takeSignals() {
        if (const int signal = signals_.take(); signal != 0) {
            child_->signal(outcome_.interruption ? SIGKILL : SIGTERM);
            if (!outcome_.interruption) {
                outcome_.interruption = signal;
                killTime_ = Clock::now() + options_.patience;
            }
        }
        if (killTime_ && Clock::now() >= *killTime_) {
            child_->signal(SIGKILL);
        }
    }

    /// Both streams are always emptied, so that the scanner never waits for us to read them.
    void takeOutput() {
        std::string output;
        child_->readOutput(output);
        output_.append(output, 0, kMostOutput - std::min(output_.size(), kMostOutput));
        std::string diagnostics;
        child_->readError(diagnostics);
        if (!diagnostics.empty() && events_.diagnostics) {
            events_.diagnostics(diagnostics);
        }
    }

    void takeLastMessages() {
        pollfd readable = {server_->pollDescriptor(), POLLIN, 0};
        do {
            server_->dispatch();
        } while ((server_->connectionCount() > 0 || ::poll(&readable, 1, 0) > 0) &&
                 ::poll(&readable, 1, static_cast<int>(kLastMessages.count())) > 0);
    }

    void tick() {
        if (events_.tick && Clock::now() >= nextTick_) {
            events_.tick();
            nextTick_ = Clock::now() + kTick;
        }
    }

    std::string errorLine() const {
        constexpr std::string_view kMark = "ERR:";
        if (!output_.starts_with(kMark)) {
            return "";
        }
        return output_.substr(kMark.size(), output_.find('\n') - kMark.size());
    }

    const ScannerRunOptions& options_;
    const ScannerRunEvents& events_;
    SignalWatch& signals_;
    std::unique_ptr<ParentServer> server_;
    std::unique_ptr<ChildProcess> child_;
    ScannerRunOutcome outcome_;
    std::string output_;
    std::optional<Clock::time_point> killTime_;
    Clock::time_point nextTick_ = Clock::now();
};

} // namespace

Result<ScannerRunOutcome> runScanner(const ScannerRunOptions& options,
                                     const ScannerRunEvents& events, SignalWatch& signals) {
    ScannerSession session(options, events, signals);
    if (const std::optional<Error> error = session.start()) {
        return *error;
    }
    return session.serve();
}

} // namespace fw
