#include "oxbow/DemoCommand.h"

#include "base/systemLog.h"
#include "oxbow/DemoMovie.h"
#include "oxbow/Diagnostics.h"
#include "oxbow/ErrorLine.h"
#include "oxbow/SignalWatch.h"
#include "support/FWLocalPaths.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fw {
namespace {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = FWLocalPaths::tempDirectory();
        pattern += "/oxbow-demo-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const char* name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

std::string description(const KnownFault& fault) {
    return fmt::format("frame {}: {}", fault.frame, fault.message);
}

bool contains(const std::vector<KnownFault>& faults, const KnownFault& fault) {
    return std::find(faults.begin(), faults.end(), fault) != faults.end();
}

std::string row(const std::string& expected, const std::string& found) {
    return fmt::format("{:<52}  {}\n", expected, found);
}

std::string comparison(const std::vector<KnownFault>& expected,
                       const std::vector<KnownFault>& found) {
    std::string text = row("Must be found", "Found");
    for (const KnownFault& fault : expected) {
        text += row(description(fault), contains(found, fault) ? description(fault) : "(missing)");
    }
    for (const KnownFault& fault : found) {
        if (!contains(expected, fault)) {
            text += row("(nothing)", description(fault));
        }
    }
    return text;
}

/// Flashes arrive a little before frames with lower numbers.
std::vector<KnownFault> inOrder(std::vector<KnownFault> faults) {
    std::stable_sort(faults.begin(), faults.end(),
                     [](const KnownFault& a, const KnownFault& b) { return a.frame < b.frame; });
    return faults;
}

} // namespace

ExitStatus runDemoCommand(const DemoRequest& request, const ScanServices& services,
                          const Output& output) {
    // Until the folder is gone. What comes while the movie is written, the scan finds and ends by.
    const SignalWatch signals;
    const TemporaryFolder folder;
    const std::string movie = folder.file("demo.y4m");
    writeDemoMovie(movie);

    std::vector<KnownFault> found;
    ScanObserver observer;
    observer.fault = [&found](const Fault& fault) {
        found.push_back({fault.kind, fault.frame, fault.message});
    };
    if (request.isVerbose) {
        observer.diagnostics = diagnosticsWriter(STDERR_FILENO);
    }
    const ScanResult result = performScan(demoSettings(movie), services, observer);
    if (result.error) {
        systemLog(errorLine(result.error->description));
        return result.status;
    }
    found = inOrder(found);
    const bool isAllFound = found == demoFaults();
    output.write(comparison(demoFaults(), found));
    output.write(isAllFound ? "All known faults were found, and nothing else.\n"
                            : "What was found is not what the movie has.\n");
    return isAllFound ? ExitStatus::kNoFaults : ExitStatus::kFaults;
}

} // namespace fw
