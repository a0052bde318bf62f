#pragma once

#include "platform/elevation/Elevation.h"
#include "platform/elevation/SecretText.h"

#include <memory>
#include <string>
#include <vector>

// The calls of sudo that authorizations consist of. sudo keeps a ticket of who has given a
// password: for the terminal or, without one, for the process that called it; so it is always our
// own child. It expires when it is not used for some time (15 minutes, unless the machine says
// otherwise).
namespace fw::sudo {

/// Whether the programs that this needs are there.
bool isInstalled();

// The ticket of this process's user

/// Asks for a password on the terminal or, without one, by the helper program of the desktop;
/// whether there is a ticket now. Without limit of time.
bool ask();
/// Whether the password is right and, with it, there is a ticket now. One that is there already
/// does not stand for the password, and stays.
bool authenticate(const SecretText& password);
/// Whether there is a ticket, or none is needed. Prolongs it.
bool hasTicket();
/// Whether the ticket gives the right to run any tool as the superuser.
bool mayRunAnything();
void endTicket();
/// See Authorization::run.
Result<std::unique_ptr<ToolStream>>
run(const std::string& tool, const std::vector<std::string>& arguments, ToolOutput output);

// Another administrator, who has no ticket: the password is needed for each call

bool mayRunAnything(const std::string& administrator, const SecretText& password);
/// The same; that the tool cannot be executed is not seen.
Result<std::unique_ptr<ToolStream>> run(const std::string& administrator,
                                        const SecretText& password, const std::string& tool,
                                        const std::vector<std::string>& arguments,
                                        ToolOutput output);

} // namespace fw::sudo
