#include "oxbow/Application.h"

#include "base/systemLog.h"
#include "oxbow/CommandLine.h"
#include "oxbow/DemoCommand.h"
#include "oxbow/ErrorLine.h"
#include "oxbow/Output.h"
#include "oxbow/ScanCommand.h"
#include "oxbow/ScannerLocation.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace fw {
namespace {

/// A program may be started without its standard streams. Their numbers must not go to sockets:
/// results would be written there. What is opened here can be neither read nor written.
void fillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

void prepareSignals() {
    // A reader that goes away is an output error, told in words.
    ::signal(SIGPIPE, SIG_IGN);
    // So is a limit of a file's size.
    ::signal(SIGXFSZ, SIG_IGN);
    // Whoever started us may have ignored it, and then the scanner's end would be lost.
    ::signal(SIGCHLD, SIG_DFL);
}

ExitStatus give(const Advice& advice) {
    if (advice.status == ExitStatus::kNoFaults) {
        Output(STDOUT_FILENO).write(advice.text);
    } else {
        std::fputs(advice.text.c_str(), stderr);
    }
    return advice.status;
}

ExitStatus answer(const Request& request, const ScanServices& services) {
    const Output output(STDOUT_FILENO);
    if (const auto* scan = std::get_if<ScanRequest>(&request)) {
        return runScanCommand(*scan, services, output);
    }
    if (const auto* demo = std::get_if<DemoRequest>(&request)) {
        return runDemoCommand(*demo, services, output);
    }
    return give(std::get<Advice>(request));
}

} // namespace

ExitStatus runOxbow(const std::vector<std::string>& arguments, const AssetOpener& openAsset) {
    fillStandardStreams();
    prepareSignals();
    try {
        return answer(parsedCommandLine(arguments), {openAsset, scannerPath});
    } catch (const std::exception& error) {
        systemLog(errorLine(error.what()));
        return ExitStatus::kInternal;
    }
}

} // namespace fw
