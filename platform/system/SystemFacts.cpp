#include "platform/system/SystemFacts.h"

#include <fmt/format.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string_view>

namespace fw {
namespace {

/// The value of a line KEY="value" of the system's description (os-release(5)).
std::string releaseEntry(std::string_view key) {
    std::ifstream file("/etc/os-release");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key) && line.substr(key.size(), 1) == "=") {
            std::string value = line.substr(key.size() + 1);
            std::erase_if(value, [](char c) { return c == '"' || c == '\''; });
            return value;
        }
    }
    return {};
}

std::string systemVersion() {
    utsname kernel{};
    if (::uname(&kernel) != 0) {
        return releaseEntry("PRETTY_NAME");
    }
    const std::string release = releaseEntry("PRETTY_NAME");
    return fmt::format("{}{}{} {}", release, release.empty() ? "" : ", ", kernel.sysname,
                       kernel.release);
}

} // namespace

SystemFacts systemFacts() {
    SystemFacts facts;
    facts.version = systemVersion();
    facts.processorCount = std::max(::sysconf(_SC_NPROCESSORS_ONLN), 0L);
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0) {
        facts.memoryBytes =
            static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    }
    return facts;
}

} // namespace fw
