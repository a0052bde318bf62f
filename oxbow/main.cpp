#include "oxbow/Application.h"
#include "platform/libav/LibavAsset.h"
#include "support/CrashReports.h"

#include <string>
#include <vector>

int main(int argc, char** argv) {
    fw::installCrashReports("oxbow", std::vector<std::string>(argv, argv + argc));
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto openAsset = [](const std::string& path) {
        return fw::openLibavAsset(path);
    };
    return static_cast<int>(fw::runOxbow(arguments, openAsset));
}
