#include "platform/elevation/AdministratorAuthorization.h"

#include "platform/PosixError.h"
#include "platform/elevation/sudo.h"

#include <cerrno>

namespace fw {

bool AdministratorAuthorization::requestAdministratorRight() {
    isGranted_ = password_ && sudo::mayRunAnything(administrator_, password_);
    if (!isGranted_) {
        free();
    }
    return isGranted_;
}

Result<std::unique_ptr<ToolStream>>
AdministratorAuthorization::run(const std::string& tool, const std::vector<std::string>& arguments,
                                ToolOutput output) {
    if (!isGranted_) {
        return posixError(EACCES);
    }
    return sudo::run(administrator_, password_, tool, arguments, output);
}

void AdministratorAuthorization::free() {
    isGranted_ = false;
    password_.wipe();
}

} // namespace fw
