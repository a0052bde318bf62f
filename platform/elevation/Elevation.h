#pragma once

#include "base/Result.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Administrator rights for tools. One thread at a time uses an authorization.
namespace fw {

/// What a tool that runs with rights writes to its standard output.
class ToolStream {
public:
    virtual ~ToolStream() = default;

    /// Waits until there is something, and gives that; empty once the tool has ended.
    virtual std::string read() = 0;
};

/// Whether a tool's output is taken; when it is dropped, its stream ends at once.
enum class ToolOutput : bool { kDropped, kTaken };

/// The authorization to run tools as the superuser: first without the right to, then asked for it,
/// at last freed, which its destruction does too.
class Authorization {
public:
    virtual ~Authorization() = default;

    /// Asks for the right to run any tool as the superuser; whether it was given. It waits for the
    /// user, or for the machine, which takes seconds to refuse a wrong password. Where the machine
    /// keeps no tickets (sudo's timestamp_timeout is 0), this process's user is not given it even
    /// with the right password; another administrator is.
    virtual bool requestAdministratorRight() = 0;
    /// Starts a tool as the superuser, with standard error dropped and nothing to read, and returns
    /// as soon as the rights were looked at: it runs on by itself. The error of a tool that was not
    /// started has domain "POSIX" and an errno: EACCES where the right is missing or has expired.
    /// With another administrator's right one that cannot be executed counts as started.
    virtual Result<std::unique_ptr<ToolStream>>
    run(const std::string& tool, const std::vector<std::string>& arguments, ToolOutput output) = 0;
    /// Gives the right back. Tools that were started run on.
    virtual void free() = 0;
};

using AuthorizationRef = std::shared_ptr<Authorization>;

// All three are safe from any thread as long as none changes the environment.

/// The right that a parent process hands down, ready to be used; null when there is none. The
/// parent keeps it: freeing this one ends nothing.
///
/// A process that has the right marks the environment of the children that it starts
/// (FERNWICK_AUTHORIZED). Only who finds the mark looks whether the right is there; the mark alone
/// gives none. Who finds it ends no right of this process's user either, not even one that it has
/// asked for itself, because that could be the parent's: such a right expires by itself.
///
/// Parent and child must have one terminal: without it nothing is handed down.
AuthorizationRef adoptedAuthorization();

/// An authorization that asks the user: on the terminal or, without one and in the background, by
/// the helper program of the desktop (SUDO_ASKPASS). The error has domain "POSIX" and an errno.
Result<AuthorizationRef> createAuthorization();

/// One that asks nobody. The password is never in a file, on a command line or in the environment;
/// it stays in memory that is never written to disk, for the user of this process until the right
/// is asked for, for another administrator until the authorization is freed. The error has domain
/// "POSIX" and an errno.
Result<AuthorizationRef> createAuthorization(std::string_view user, std::string_view password);

/// Where authorizations come from; tests put sources of their own in place. An empty member is the
/// machine's own.
struct ElevationServices {
    std::function<AuthorizationRef()> adopted;
    std::function<Result<AuthorizationRef>()> create;
    std::function<Result<AuthorizationRef>(std::string_view user, std::string_view password)>
        createWithPassword;
};

/// Puts other services in place and returns those before. Safe from any thread.
ElevationServices setElevationServices(ElevationServices services);

} // namespace fw
