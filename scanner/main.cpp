#include "platform/libav/LibavAsset.h"
#include "platform/mainthread/MainThread.h"
#include "scanner/RunDriver.h"
#include "support/CrashReports.h"

#include <csignal>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv, argv + argc);
    fw::installCrashReports("OxbowGlint", arguments);
    // A parent that no longer reads our standard error must not end the scan.
    std::signal(SIGPIPE, SIG_IGN);
    // Nor must a limit of a file's size: it is a write that fails, as on a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    fw::RunServices services;
    services.openAsset = [](const std::string& path) {
        return fw::openLibavAsset(path);
    };
    const int status = fw::RunDriver(services).run(arguments);
    // Whoever still waits for the main thread must not wait for ever.
    fw::closeMainThread();
    return status;
}
