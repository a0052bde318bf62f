#pragma once

#include "base/Error.h"
#include "platform/connection/FrameReport.h"
#include "platform/connection/RuntimeFolder.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// The parent's root object, as the scanner sees it. Used from one thread at a time. Every
/// operation throws PlatformException when the parent has gone away; what the parent answers,
/// errors included, is ignored. Every message has left this process when its call returns: a
/// parent that stalls holds the caller back, and memory stays flat. The two closing messages,
/// frameProcessingFailedWithError and frameProcessingFinished, also wait for their reply, and
/// throw when it does not come in time.
class ParentProxy {
public:
    virtual ~ParentProxy() = default;

    /// Whether the parent offers an operation ("frameProcessed:", ...); false when it does not say
    /// so in time.
    virtual bool respondsTo(std::string_view operation) = 0;
    virtual void callback(const std::string& note) = 0;
    virtual void frameProcessed(const FrameReport& report) = 0;
    virtual void frameProcessingFailedWithError(const Error& error) = 0;
    virtual void frameProcessingFinished() = 0;
};

/// The scanner's end of the connection to the parent that started it.
class ParentConnection {
public:
    virtual ~ParentConnection() = default;
    virtual std::shared_ptr<ParentProxy> rootProxy() = 0;
};

struct ParentConnectionOptions {
    /// How long the parent may take to say what it responds to.
    std::chrono::milliseconds introspectionLimit = std::chrono::seconds(5);
    /// How long the parent may take to answer a closing message that has reached it.
    std::chrono::milliseconds closingLimit = std::chrono::seconds(30);
    /// Where its socket is looked for.
    std::vector<RuntimeFolder> runtimeFolders = standardRuntimeFolders();
};

/// The connection that a parent has published under a name on this machine; null when there is
/// none. Only a parent of the same user id counts. It never waits for the parent. Throws
/// PlatformException when the machine cannot provide a connection at all.
std::shared_ptr<ParentConnection> connectionWithRegisteredName(const std::string& name);
std::shared_ptr<ParentConnection> connectionWithOptions(const std::string& name,
                                                        const ParentConnectionOptions& options);

} // namespace fw
