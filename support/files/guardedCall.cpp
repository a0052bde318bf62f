#include "support/files/guardedCall.h"

#include "base/CurrentException.h"
#include "base/FormattedText.h"
#include "base/systemLog.h"

namespace fw {

void guardedCall(const std::function<void()>& operation) {
    try {
        operation();
    } catch (...) {
        const std::optional<CurrentException> exception = currentException();
        systemLog(formattedText("Exception in a delegate: %@",
                                exception ? exception->reason() : std::string()));
    }
}

} // namespace fw
