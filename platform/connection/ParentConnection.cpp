#include "platform/connection/ParentConnection.h"

#include "base/PlatformException.h"
#include "platform/connection/Bus.h"
#include "platform/connection/FrameMessage.h"
#include "platform/connection/Introspection.h"
#include "platform/connection/SocketPath.h"
#include "platform/connection/UnixSocket.h"
#include "platform/connection/WireText.h"

#include <unistd.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <optional>

namespace fw {
namespace {

using Clock = std::chrono::steady_clock;
using Deadline = std::optional<Clock::time_point>;

constexpr std::uint64_t kForever = std::numeric_limits<std::uint64_t>::max();

constexpr const char* kSendFailure = "A message to the parent cannot be sent";

/// Zero once the deadline has passed.
std::uint64_t microsecondsUntil(const Deadline& deadline) {
    if (!deadline) {
        return kForever;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(*deadline - Clock::now());
    return static_cast<std::uint64_t>(std::max<std::int64_t>(left.count(), 0));
}

/// A call that waits for its reply.
struct PendingReply {
    bool hasArrived = false;
    /// The text that the reply carries first; empty for an error or a reply without one.
    std::string text;
};

int takeReply(sd_bus_message* message, void* userdata, sd_bus_error*) {
    auto& reply = *static_cast<PendingReply*>(userdata);
    reply.hasArrived = true;
    const char* text = nullptr;
    if (sd_bus_message_is_method_error(message, nullptr) == 0 &&
        sd_bus_message_read_basic(message, 's', &text) > 0) {
        reply.text = text;
    }
    return 0;
}

/// One socket to the parent, with the messages that go through it.
class BusProxy final : public ParentProxy {
public:
    BusProxy(BusHandle bus, const ParentConnectionOptions& options)
        : bus_(std::move(bus)), introspectionLimit_(options.introspectionLimit),
          closingLimit_(options.closingLimit) {}

    bool respondsTo(std::string_view operation) override {
        const MessageHandle message = newCall("org.freedesktop.DBus.Introspectable", "Introspect");
        PendingReply reply;
        const SlotHandle slot = sendExpecting(message, reply);
        const Deadline deadline = Clock::now() + introspectionLimit_;
        pumpUntil([&reply] { return reply.hasArrived; }, deadline);
        return introspectionOffersMethod(reply.text, operation.substr(0, operation.find(':')));
    }

    void callback(const std::string& note) override {
        const MessageHandle message = newCall(kParentInterface, "callback");
        check(sd_bus_message_append_basic(message.get(), 's', wireText(note).c_str()));
        send(message);
    }

    void frameProcessed(const FrameReport& report) override {
        const MessageHandle message = newCall(kParentInterface, "frameProcessed");
        appendFrameReport(message.get(), report);
        send(message);
    }

    void frameProcessingFailedWithError(const Error& error) override {
        const MessageHandle message = newCall(kParentInterface, "frameProcessingFailedWithError");
        appendError(message.get(), error);
        sendClosing(message);
    }

    void frameProcessingFinished() override {
        sendClosing(newCall(kParentInterface, "frameProcessingFinished"));
    }

private:
    static int check(int result) { return checkedBusCall(result, kSendFailure); }

    MessageHandle newCall(const char* interface, const char* member) {
        sd_bus_message* message = nullptr;
        check(sd_bus_message_new_method_call(bus_.get(), &message, nullptr, kParentObjectPath,
                                             interface, member));
        return MessageHandle(message);
    }

    void send(const MessageHandle& message) {
        check(sd_bus_message_set_expect_reply(message.get(), 0));
        check(sd_bus_send(bus_.get(), message.get(), nullptr));
        pumpUntil([this] { return isEverythingWritten(); }, std::nullopt);
        takeWhatHasArrived();
    }

    /// The reply stays in use until the slot goes.
    SlotHandle sendExpecting(const MessageHandle& message, PendingReply& reply) {
        sd_bus_slot* slot = nullptr;
        check(sd_bus_call_async(bus_.get(), &slot, message.get(), takeReply, &reply, kForever));
        return SlotHandle(slot);
    }

    void sendClosing(const MessageHandle& message) {
        PendingReply reply;
        const SlotHandle slot = sendExpecting(message, reply);
        pumpUntil([&] { return reply.hasArrived || isEverythingWritten(); }, std::nullopt);
        const Deadline deadline = Clock::now() + closingLimit_;
        pumpUntil([&reply] { return reply.hasArrived; }, deadline);
        if (!reply.hasArrived) {
            throw PlatformException("The parent did not answer the closing message in time.");
        }
    }

    bool isEverythingWritten() const {
        std::uint64_t queued = 0;
        check(sd_bus_get_n_queued_write(bus_.get(), &queued));
        return queued == 0;
    }

    /// Writes and reads at once, so that a parent that answers although it need not cannot wait
    /// for us while we wait for it. Returns when `isDone`, or when the deadline has passed.
    void pumpUntil(const std::function<bool()>& isDone, const Deadline& deadline) {
        while (!isDone()) {
            if (processOne()) {
                continue;
            }
            const std::uint64_t limit = microsecondsUntil(deadline);
            if (limit == 0) {
                return;
            }
            const int result = sd_bus_wait(bus_.get(), limit);
            if (result != -EINTR) {
                check(result);
            }
        }
    }

    /// A parent's unwanted replies must not pile up; a parent that talks without end must not
    /// hold the scan either.
    void takeWhatHasArrived() {
        constexpr int kMostAtOnce = 64;
        for (int taken = 0; taken < kMostAtOnce && processOne(); ++taken) {
        }
    }

    bool processOne() {
        const bool hasDoneSomething = check(sd_bus_process(bus_.get(), nullptr)) > 0;
        if (sd_bus_is_open(bus_.get()) <= 0) {
            throw PlatformException("The parent has gone away.");
        }
        return hasDoneSomething;
    }

    BusHandle bus_;
    std::chrono::milliseconds introspectionLimit_;
    std::chrono::milliseconds closingLimit_;
};

class BusConnection final : public ParentConnection {
public:
    explicit BusConnection(std::shared_ptr<ParentProxy> proxy) : proxy_(std::move(proxy)) {}
    std::shared_ptr<ParentProxy> rootProxy() override { return proxy_; }

private:
    std::shared_ptr<ParentProxy> proxy_;
};

/// Only where the folders are ours alone, and only to a listener of our own user.
FileDescriptor connectInside(const RuntimeFolder& folder, const std::string& stem) {
    const std::optional<std::string> path = socketPath(folder, stem);
    if (!path || !isPrivateFolder(folder.path) || !isPrivateFolder(socketFolder(folder))) {
        return {};
    }
    FileDescriptor socket = connectToSocket(*path);
    const std::optional<SocketPeer> peer = socket ? peerOfSocket(socket) : std::nullopt;
    if (!peer || peer->userId != ::geteuid()) {
        return {};
    }
    return socket;
}

BusHandle busOver(FileDescriptor socket) {
    constexpr const char* kWhat = "The connection to the parent cannot be made";
    sd_bus* bus = nullptr;
    checkedBusCall(sd_bus_new(&bus), kWhat);
    BusHandle handle(bus);
    checkedBusCall(sd_bus_set_fd(bus, socket.get(), socket.get()), kWhat);
    socket.release();
    // No bus daemon is behind the socket, hence no greeting.
    checkedBusCall(sd_bus_start(bus), kWhat);
    return handle;
}

} // namespace

std::shared_ptr<ParentConnection> connectionWithRegisteredName(const std::string& name) {
    return connectionWithOptions(name, {});
}

std::shared_ptr<ParentConnection> connectionWithOptions(const std::string& name,
                                                        const ParentConnectionOptions& options) {
    const std::string stem = socketFileStem(name);
    for (const RuntimeFolder& folder : options.runtimeFolders) {
        if (FileDescriptor socket = connectInside(folder, stem)) {
            return std::make_shared<BusConnection>(
                std::make_shared<BusProxy>(busOver(std::move(socket)), options));
        }
    }
    return nullptr;
}

} // namespace fw
