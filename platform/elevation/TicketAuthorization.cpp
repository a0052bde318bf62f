#include "platform/elevation/TicketAuthorization.h"

#include "platform/PosixError.h"
#include "platform/elevation/sudo.h"
#include "platform/process/ChildEnvironment.h"

#include <cerrno>
#include <cstdlib>
#include <optional>

namespace fw {

bool isMarked() {
    return std::getenv(kHandedDownMark) != nullptr;
}

// Our own

bool TicketAuthorization::requestAdministratorRight() {
    end();
    if (!gotTicket()) {
        return false;
    }
    isGranted_ = sudo::mayRunAnything();
    if (isGranted_) {
        setVariableOfChildren(kHandedDownMark, "1");
    } else {
        endTicket();
    }
    return isGranted_;
}

bool TicketAuthorization::gotTicket() {
    if (asks_) {
        return sudo::ask();
    }
    const SecretText password = std::move(password_); // Gone when this returns.
    return password && sudo::authenticate(password);
}

Result<std::unique_ptr<ToolStream>>
TicketAuthorization::run(const std::string& tool, const std::vector<std::string>& arguments,
                         ToolOutput output) {
    if (!isGranted_ || (asks_ && !sudo::hasTicket() && !sudo::ask())) {
        return posixError(EACCES);
    }
    return sudo::run(tool, arguments, output);
}

void TicketAuthorization::end() {
    if (isGranted_) {
        isGranted_ = false;
        endTicket();
    }
}

void TicketAuthorization::endTicket() const {
    if (!mayBeParents_) {
        setVariableOfChildren(kHandedDownMark, std::nullopt);
        sudo::endTicket();
    }
}

// The parent's

bool ParentsAuthorization::requestAdministratorRight() {
    isGranted_ = sudo::hasTicket() && sudo::mayRunAnything();
    return isGranted_;
}

Result<std::unique_ptr<ToolStream>>
ParentsAuthorization::run(const std::string& tool, const std::vector<std::string>& arguments,
                          ToolOutput output) {
    if (!isGranted_) {
        return posixError(EACCES);
    }
    return sudo::run(tool, arguments, output);
}

} // namespace fw
