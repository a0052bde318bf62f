#pragma once

#include "base/Error.h"
#include "platform/connection/FrameReport.h"

#include <memory>
#include <string>
#include <string_view>

namespace fw {

/// The parent's root object, as the scanner sees it. Used from one thread at a time. Every
/// operation throws PlatformException when the parent has gone away; what the parent answers,
/// errors included, is ignored.
class ParentProxy {
public:
    virtual ~ParentProxy() = default;

    /// Whether the parent offers an operation ("frameProcessed:", ...); false when it does not say
    /// so within a few seconds.
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

/// The connection that a parent has published under a name on this machine; null when there is
/// none. Only a parent of the same user id counts.
std::shared_ptr<ParentConnection> connectionWithRegisteredName(const std::string& name);

} // namespace fw
