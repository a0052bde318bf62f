#include "platform/process/WakeEvent.h"

#include "base/PlatformException.h"

#include <cerrno>
#include <cstring>
#include <sys/eventfd.h>

namespace fw {

WakeEvent::WakeEvent() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_) {
        throw PlatformException(std::strerror(errno));
    }
}

void WakeEvent::set() const {
    static_cast<void>(::eventfd_write(event_.get(), 1));
}

void WakeEvent::clear() const {
    eventfd_t count = 0;
    static_cast<void>(::eventfd_read(event_.get(), &count));
}

} // namespace fw
