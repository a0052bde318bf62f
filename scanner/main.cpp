#include "platform/libav/LibavAsset.h"
#include "scanner/RunDriver.h"

#include <string>
#include <vector>

int main(int argc, char** argv) {
    fw::RunServices services;
    services.openAsset = [](const std::string& path) {
        return fw::openLibavAsset(path);
    };
    return fw::RunDriver(services).run(std::vector<std::string>(argv, argv + argc));
}
