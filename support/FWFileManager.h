#pragma once

#include <string>

namespace fw {

/// File operations of the suite. Stateless; safe from any thread.
class FWFileManager {
public:
    FWFileManager() = delete;

    /// Whether something stands at the path; links are followed.
    static bool fileExistsAtPath(const std::string& path);
};

} // namespace fw
