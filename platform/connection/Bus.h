#pragma once

#include "base/PlatformException.h"

#include <systemd/sd-bus.h>

#include <cstring>
#include <memory>
#include <string>

// Owners of sd-bus objects, for the sources of this folder.
namespace fw {

inline constexpr const char* kParentObjectPath = "/";
inline constexpr const char* kParentInterface = "com.fernwick.Oxbow.Parent";

struct BusCloser {
    /// Without flushing: a peer that reads nothing must not hold us.
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct MessageReleaser {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
struct SlotReleaser {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

using BusHandle = std::unique_ptr<sd_bus, BusCloser>;
using MessageHandle = std::unique_ptr<sd_bus_message, MessageReleaser>;
using SlotHandle = std::unique_ptr<sd_bus_slot, SlotReleaser>;

/// The result of a call to sd-bus, which is a negative errno on failure. Throws PlatformException.
inline int checkedBusCall(int result, const char* what) {
    if (result < 0) {
        throw PlatformException(std::string(what) + ": " + std::strerror(-result));
    }
    return result;
}

} // namespace fw
