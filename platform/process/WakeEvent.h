#pragma once

#include "platform/FileDescriptor.h"

namespace fw {

/// Something that one thread sets and others wait for together with descriptors. Safe from any
/// thread.
class WakeEvent {
public:
    /// Throws PlatformException where the system has no descriptor left.
    WakeEvent();

    void set() const;
    void clear() const;
    /// Readable while it is set.
    int descriptor() const { return event_.get(); }

private:
    FileDescriptor event_;
};

} // namespace fw
