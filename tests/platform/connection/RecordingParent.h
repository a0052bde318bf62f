#pragma once

#include "platform/connection/ParentServer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace fw::test {

/// Everything that reached a parent, in order.
struct Received {
    std::vector<std::string> notes;
    std::vector<FrameReport> reports;
    std::vector<Error> errors;
    int finished = 0;
    /// The kinds of messages as they came: 'n' note, 'r' report, 'e' error, 'f' finished.
    std::string order;
};

inline ParentOperations recordInto(Received& received) {
    ParentOperations operations;
    operations.callback = [&received](const std::string& note) {
        received.notes.push_back(note);
        received.order += 'n';
    };
    operations.frameProcessed = [&received](const FrameReport& report) {
        received.reports.push_back(report);
        received.order += 'r';
    };
    operations.frameProcessingFailedWithError = [&received](const Error& error) {
        received.errors.push_back(error);
        received.order += 'e';
    };
    operations.frameProcessingFinished = [&received] {
        ++received.finished;
        received.order += 'f';
    };
    return operations;
}

/// Publishes a name and serves it on a thread of its own until stop().
class ServingThread {
public:
    ServingThread(const std::string& name, const ParentOperations& operations,
                  const std::vector<RuntimeFolder>& folders)
        : stop_(::eventfd(0, EFD_CLOEXEC)) {
        auto result = ParentServer::publish(name, operations, folders);
        if (!result) {
            throw std::runtime_error(result.error().description);
        }
        server_ = std::move(result).value();
        thread_ = std::thread([this] { serve(); });
    }
    ~ServingThread() {
        stop();
        ::close(stop_);
    }
    ServingThread(const ServingThread&) = delete;
    ServingThread& operator=(const ServingThread&) = delete;

    /// Afterwards everything that scanners sent before has been received, and the server may be
    /// used from the caller's thread.
    void stop() {
        if (thread_.joinable()) {
            ::eventfd_write(stop_, 1);
            thread_.join();
        }
    }
    ParentServer& server() { return *server_; }

private:
    void serve() {
        while (true) {
            pollfd descriptors[] = {{server_->pollDescriptor(), POLLIN, 0}, {stop_, POLLIN, 0}};
            ::poll(descriptors, 2, -1);
            if (descriptors[0].revents != 0) {
                server_->dispatch();
            } else if (descriptors[1].revents != 0) {
                return;
            }
        }
    }

    int stop_;
    std::unique_ptr<ParentServer> server_;
    std::thread thread_;
};

} // namespace fw::test
