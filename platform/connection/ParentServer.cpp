#include "platform/connection/ParentServer.h"

#include "base/PlatformException.h"
#include "platform/connection/Bus.h"
#include "platform/connection/FrameMessage.h"
#include "platform/connection/SocketClaim.h"
#include "platform/connection/UnixSocket.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <systemd/sd-id128.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <utility>

namespace fw {
namespace {

/// Events that one dispatch handles before it gives its caller a turn.
constexpr int kMostEventsAtOnce = 4096;

struct EventReleaser {
    void operator()(sd_event* event) const { sd_event_unref(event); }
};
struct EventSourceReleaser {
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
using EventHandle = std::unique_ptr<sd_event, EventReleaser>;
using EventSourceHandle = std::unique_ptr<sd_event_source, EventSourceReleaser>;

int check(int result) {
    return checkedBusCall(result, "The connection to the scanner cannot be made");
}

class BusServer final : public ParentServer {
public:
    BusServer(std::unique_ptr<SocketClaim> claim, ParentOperations operations)
        : claim_(std::move(claim)), operations_(std::move(operations)), vtable_(makeVtable()),
          event_(newEvent()), moreToDo_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        check(moreToDo_ ? 0 : -errno);
        acceptSource_ = watch(claim_->listener(), onConnection);
        moreToDoSource_ = watch(moreToDo_, onMoreToDo);
    }

    int pollDescriptor() const override { return sd_event_get_fd(event_.get()); }
    int connectionCount() const override { return static_cast<int>(connections_.size()); }
    int connectionsSeen() const override { return connectionsSeen_; }
    const std::string& socketPath() const override { return claim_->socketPath(); }

    void dispatch() override {
        int handled = 0;
        while (!failure_ && handled < kMostEventsAtOnce &&
               check(sd_event_run(event_.get(), 0)) > 0) {
            ++handled;
            forgetClosedConnections();
        }
        forgetClosedConnections();
        if (failure_ || handled == kMostEventsAtOnce) {
            keepReadable();
        }
        if (failure_) {
            std::rethrow_exception(std::exchange(failure_, nullptr));
        }
    }

private:
    using IoHandler = int (*)(sd_event_source*, int, std::uint32_t, void*);

    static EventHandle newEvent() {
        sd_event* event = nullptr;
        check(sd_event_new(&event));
        return EventHandle(event);
    }

    EventSourceHandle watch(const FileDescriptor& descriptor, IoHandler handler) {
        sd_event_source* source = nullptr;
        check(sd_event_add_io(event_.get(), &source, descriptor.get(), EPOLLIN, handler, this));
        return EventSourceHandle(source);
    }

    /// Only what the parent implements, so that introspection tells the truth and the rest is
    /// answered with "unknown method".
    std::vector<sd_bus_vtable> makeVtable() const {
        std::vector<sd_bus_vtable> table = {SD_BUS_VTABLE_START(0)};
        if (operations_.callback) {
            table.push_back(SD_BUS_METHOD_WITH_NAMES("callback", "s", SD_BUS_PARAM(note), "", "",
                                                     onCallback, SD_BUS_VTABLE_UNPRIVILEGED));
        }
        if (operations_.frameProcessed) {
            table.push_back(SD_BUS_METHOD_WITH_NAMES("frameProcessed", "a{sv}",
                                                     SD_BUS_PARAM(report), "", "", onFrameProcessed,
                                                     SD_BUS_VTABLE_UNPRIVILEGED));
        }
        if (operations_.frameProcessingFailedWithError) {
            table.push_back(SD_BUS_METHOD_WITH_NAMES("frameProcessingFailedWithError", "a{sv}",
                                                     SD_BUS_PARAM(error), "", "", onFailed,
                                                     SD_BUS_VTABLE_UNPRIVILEGED));
        }
        if (operations_.frameProcessingFinished) {
            table.push_back(SD_BUS_METHOD("frameProcessingFinished", "", "", onFinished,
                                          SD_BUS_VTABLE_UNPRIVILEGED));
        }
        table.push_back(SD_BUS_VTABLE_END);
        return table;
    }

    static int onConnection(sd_event_source*, int, std::uint32_t, void* userdata) {
        static_cast<BusServer*>(userdata)->acceptConnection();
        return 0;
    }

    static int onMoreToDo(sd_event_source*, int descriptor, std::uint32_t, void*) {
        eventfd_t count = 0;
        static_cast<void>(::eventfd_read(descriptor, &count));
        return 0;
    }

    void keepReadable() { static_cast<void>(::eventfd_write(moreToDo_.get(), 1)); }

    void acceptConnection() {
        FileDescriptor socket = acceptFrom(claim_->listener());
        const std::optional<SocketPeer> peer = socket ? peerOfSocket(socket) : std::nullopt;
        if (!peer || peer->userId != ::geteuid()) {
            return;
        }
        try {
            connections_.push_back(serve(std::move(socket)));
            ++connectionsSeen_;
        } catch (const PlatformException&) {
            // Whoever begins with something else than D-Bus is not a scanner: its socket closes.
            return;
        }
    }

    BusHandle serve(FileDescriptor socket) {
        sd_bus* bus = nullptr;
        check(sd_bus_new(&bus));
        BusHandle handle(bus);
        sd_id128_t id = {};
        check(sd_id128_randomize(&id));
        check(sd_bus_set_server(bus, 1, id));
        check(sd_bus_set_fd(bus, socket.get(), socket.get()));
        socket.release();
        check(sd_bus_add_object_vtable(bus, nullptr, kParentObjectPath, kParentInterface,
                                       vtable_.data(), this));
        check(sd_bus_start(bus));
        check(sd_bus_attach_event(bus, event_.get(), SD_EVENT_PRIORITY_NORMAL));
        return handle;
    }

    void forgetClosedConnections() {
        std::erase_if(connections_,
                      [](const BusHandle& bus) { return sd_bus_is_open(bus.get()) <= 0; });
    }

    static int onCallback(sd_bus_message* message, void* userdata, sd_bus_error*) {
        return handle(message, userdata, readNote,
                      [](const ParentOperations& operations, const std::string& note) {
                          operations.callback(note);
                      });
    }

    static int onFrameProcessed(sd_bus_message* message, void* userdata, sd_bus_error*) {
        return handle(message, userdata, readFrameReport,
                      [](const ParentOperations& operations, const FrameReport& report) {
                          operations.frameProcessed(report);
                      });
    }

    static int onFailed(sd_bus_message* message, void* userdata, sd_bus_error*) {
        return handle(message, userdata, readError,
                      [](const ParentOperations& operations, const Error& error) {
                          operations.frameProcessingFailedWithError(error);
                      });
    }

    static int onFinished(sd_bus_message* message, void* userdata, sd_bus_error*) {
        return handle(message, userdata, readNothing,
                      [](const ParentOperations& operations, Nothing) {
                          operations.frameProcessingFinished();
                      });
    }

    struct Nothing {};
    static Nothing readNothing(sd_bus_message*) { return {}; }

    static std::string readNote(sd_bus_message* message) {
        const char* note = nullptr;
        checkedBusCall(sd_bus_message_read_basic(message, 's', &note), "A note cannot be read");
        return note;
    }

    /// No exception may pass through sd-bus: a message that cannot be read is answered with an
    /// error, what an operation throws is kept for dispatch.
    template <typename Read, typename Operation>
    static int handle(sd_bus_message* message, void* userdata, Read read, Operation operation) {
        auto& server = *static_cast<BusServer*>(userdata);
        try {
            const auto content = read(message);
            server.run([&] { operation(server.operations_, content); });
            return sd_bus_reply_method_return(message, "");
        } catch (const PlatformException& exception) {
            return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_INVALID_ARGS, "%s",
                                              exception.what());
        } catch (const std::exception& exception) {
            return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "%s", exception.what());
        }
    }

    template <typename Work>
    void run(Work work) {
        try {
            work();
        } catch (...) {
            failure_ = std::current_exception();
        }
    }

    std::unique_ptr<SocketClaim> claim_;
    ParentOperations operations_;
    std::vector<sd_bus_vtable> vtable_;
    EventHandle event_;
    FileDescriptor moreToDo_;
    EventSourceHandle acceptSource_;
    EventSourceHandle moreToDoSource_;
    std::vector<BusHandle> connections_;
    int connectionsSeen_ = 0;
    std::exception_ptr failure_;
};

} // namespace

Result<std::unique_ptr<ParentServer>>
ParentServer::publish(const std::string& name, ParentOperations operations,
                      const std::vector<RuntimeFolder>& runtimeFolders) {
    try {
        Result<std::unique_ptr<SocketClaim>> claim = SocketClaim::take(name, runtimeFolders);
        if (!claim) {
            return claim.error();
        }
        return std::unique_ptr<ParentServer>(
            std::make_unique<BusServer>(std::move(claim).value(), std::move(operations)));
    } catch (const PlatformException& exception) {
        return Error{kDomain, static_cast<std::int64_t>(ErrorCode::kSystem), exception.what()};
    }
}

} // namespace fw
