#pragma once

#include "base/Error.h"
#include "platform/connection/Bus.h"
#include "platform/connection/FrameReport.h"

namespace fw {

/// These append one dictionary a{sv}, texts repaired. They throw PlatformException.
void appendFrameReport(sd_bus_message* message, const FrameReport& report);
void appendError(sd_bus_message* message, const Error& error);

/// These read one dictionary a{sv} and skip keys that they do not know. A key with a value of
/// another type, more than 4096 errors, or no "frame" throw PlatformException.
FrameReport readFrameReport(sd_bus_message* message);
Error readError(sd_bus_message* message);

} // namespace fw
