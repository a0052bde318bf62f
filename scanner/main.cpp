#include "platform/libav/LibavAsset.h"
#include "scanner/RunDriver.h"

#include <csignal>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    // A parent that no longer reads our standard error must not end the scan.
    std::signal(SIGPIPE, SIG_IGN);
    fw::RunServices services;
    services.openAsset = [](const std::string& path) {
        return fw::openLibavAsset(path);
    };
    return fw::RunDriver(services).run(std::vector<std::string>(argv, argv + argc));
}
