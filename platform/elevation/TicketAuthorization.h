#pragma once

#include "platform/elevation/Elevation.h"
#include "platform/elevation/SecretText.h"

#include <utility>

namespace fw {

/// The variable that a process with rights puts into the environment of its children.
constexpr const char* kHandedDownMark = "FERNWICK_AUTHORIZED";

/// Whether this process was started by one that has the right.
bool isMarked();

/// A right that rests on the ticket of this process's user, which ends with it; in a marked process
/// the ticket may be a parent's, and is never ended. Children are told.
class TicketAuthorization final : public Authorization {
public:
    /// Asks the user, and again when the ticket has expired.
    TicketAuthorization() : asks_(true) {}
    /// Asks with a password, once. No text at all is refused without a question; the password "" is
    /// one like any other.
    explicit TicketAuthorization(SecretText password)
        : asks_(false), password_(std::move(password)) {}
    ~TicketAuthorization() override { end(); }
    TicketAuthorization(const TicketAuthorization&) = delete;
    TicketAuthorization& operator=(const TicketAuthorization&) = delete;

    bool requestAdministratorRight() override;
    Result<std::unique_ptr<ToolStream>> run(const std::string& tool,
                                            const std::vector<std::string>& arguments,
                                            ToolOutput output) override;
    void free() override { end(); }

private:
    bool gotTicket();
    void end();
    void endTicket() const;

    bool asks_;
    SecretText password_;
    bool isGranted_ = false;
    bool mayBeParents_ = isMarked();
};

/// A right that rests on the ticket of a parent process, which stays the parent's.
class ParentsAuthorization final : public Authorization {
public:
    bool requestAdministratorRight() override;
    Result<std::unique_ptr<ToolStream>> run(const std::string& tool,
                                            const std::vector<std::string>& arguments,
                                            ToolOutput output) override;
    void free() override { isGranted_ = false; }

private:
    bool isGranted_ = false;
};

} // namespace fw
