#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "platform/connection/FrameReport.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace fw {

/// What a parent does with the scanner's messages. An empty member is an operation that the
/// parent does not implement. They run inside ParentServer::dispatch, on its thread.
struct ParentOperations {
    std::function<void(const std::string& note)> callback;
    std::function<void(const FrameReport& report)> frameProcessed;
    std::function<void(const Error& error)> frameProcessingFailedWithError;
    std::function<void()> frameProcessingFinished;
};

/// The parent's end: publishes a connection under a name and takes the messages of one scanner
/// after another. One thread uses it.
///
///     auto server = ParentServer::publish(connectionNameForMovie(path), operations);
///     ... start the scanner ...
///     while (...) { poll(server.value()->pollDescriptor(), ...); server.value()->dispatch(); }
class ParentServer {
public:
    /// Error codes of the domain kDomain.
    enum class ErrorCode : std::int64_t {
        kAlreadyPublished = 1, ///< Another process serves this name.
        kNoFolder = 2,         ///< No folder for the socket that is ours alone.
        kSystem = 3,           ///< A call to the system failed.
    };
    static constexpr const char* kDomain = "com.fernwick.Oxbow.connection";

    /// Listens from the moment this returns. A dead parent's socket file is replaced, a live one
    /// never. The description of kAlreadyPublished is
    /// "This movie is being scanned already (process N)."
    static Result<std::unique_ptr<ParentServer>> publish(const std::string& name,
                                                         ParentOperations operations);

    /// Takes the socket file away and ends every connection.
    virtual ~ParentServer() = default;

    /// Readable when dispatch has work to do.
    virtual int pollDescriptor() const = 0;
    /// Handles everything that has arrived; never waits.
    virtual void dispatch() = 0;
    /// Scanners connected at this moment.
    virtual int connectionCount() const = 0;
    /// Connections taken since publishing.
    virtual int connectionsSeen() const = 0;
    /// Of the socket file.
    virtual const std::string& socketPath() const = 0;
};

} // namespace fw
