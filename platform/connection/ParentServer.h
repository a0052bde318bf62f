#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "platform/connection/FrameReport.h"
#include "platform/connection/RuntimeFolder.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace fw {

/// What a parent does with the scanner's messages. An empty member is an operation that the
/// parent does not implement. They run inside ParentServer::dispatch, on its thread; what they
/// throw comes out of dispatch. They must not destroy the server.
struct ParentOperations {
    std::function<void(const std::string& note)> callback;
    std::function<void(const FrameReport& report)> frameProcessed;
    std::function<void(const Error& error)> frameProcessingFailedWithError;
    std::function<void()> frameProcessingFinished;
};

/// The parent's end: publishes a connection under a name and takes the messages of its scanners.
/// A message that is not what it should be is answered with an error and otherwise ignored. One
/// thread uses it.
///
///     auto server = ParentServer::publish(connectionNameForMovie(path), operations);
///     ... start the scanner ...
///     while (...) { poll(server.value()->pollDescriptor(), ...); server.value()->dispatch(); }
///
/// What a scanner sent before it ended still arrives: dispatch until connectionCount is 0.
class ParentServer {
public:
    /// Error codes of the domain kDomain.
    enum class ErrorCode : std::int64_t {
        kAlreadyPublished = 1, ///< Another process serves this name.
        kNoFolder = 2,         ///< No folder for the socket that is ours alone.
        kSystem = 3,           ///< A call to the system failed.
    };
    static constexpr const char* kDomain = "com.fernwick.Oxbow.connection";

    /// Listens from the moment this returns, in the first runtime folder that will do. A dead
    /// parent's socket file is replaced, a live one never. The description of kAlreadyPublished is
    /// "This movie is being scanned already (process N)."
    static Result<std::unique_ptr<ParentServer>>
    publish(const std::string& name, ParentOperations operations,
            const std::vector<RuntimeFolder>& runtimeFolders = standardRuntimeFolders());

    /// Takes the socket file away and ends every connection.
    virtual ~ParentServer() = default;

    /// Readable when dispatch has work to do.
    virtual int pollDescriptor() const = 0;
    /// Handles what has arrived; never waits. A long queue is taken in several calls, and
    /// pollDescriptor stays readable until its end.
    virtual void dispatch() = 0;
    /// Scanners connected at this moment.
    virtual int connectionCount() const = 0;
    /// Connections taken since publishing.
    virtual int connectionsSeen() const = 0;
    /// Of the socket file.
    virtual const std::string& socketPath() const = 0;
};

} // namespace fw
