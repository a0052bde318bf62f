#pragma once

#include "platform/elevation/Elevation.h"
#include "platform/elevation/SecretText.h"

#include <utility>

namespace fw {

/// The variable that a process with rights puts into the environment of its children.
constexpr const char* kHandedDownMark = "FERNWICK_AUTHORIZED";

/// A right that rests on the ticket of this process's user, which ends with it. Children are told.
class TicketAuthorization final : public Authorization {
public:
    /// Asks the user, and again when the ticket has expired.
    TicketAuthorization() : asks_(true) {}
    /// Asks with a password, once; an empty one is refused.
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

    bool asks_;
    SecretText password_;
    bool isGranted_ = false;
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
