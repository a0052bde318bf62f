#pragma once

#include <cstdint>
#include <string>

namespace fw {

/// What the machine is, for the head of a log.
struct SystemFacts {
    std::string version;             ///< Name and release of the system and of its kernel.
    std::int64_t processorCount = 0; ///< Processors that are switched on.
    std::uint64_t memoryBytes = 0;   ///< Physical memory.
};

/// What cannot be found out stays empty or 0. Safe from any thread.
SystemFacts systemFacts();

} // namespace fw
