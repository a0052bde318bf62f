#include "tests/scanner/ScannerHomeTest.h"

#include "tests/support/OrdinaryUser.h"
#include "tests/support/TestMovie.h"
#include "tests/support/plainCrashes.h"

#include <poll.h>

#include <cstdlib>
#include <stdexcept>

namespace fw::test {

ScannerHomeTest::ScannerHomeTest() {
    std::filesystem::copy_file(reachable(OXBOW_GLINT_PATH), program);
    ::setenv("HOME", folder.path().c_str(), 1);
    for (const char* name :
         {"XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
        ::setenv(name, folder.path().c_str(), 1);
    }
    letChildrenCrashPlainly();
}

void ScannerHomeTest::makeMovie() const {
    const std::string source = folder.file("movie.y4m");
    writeY4m(source, 64, 48, 6, "25:1", [](int frame, TestPicture& picture) {
        picture.fillLuma(0, 0, 64, 48, frame == 3 ? 4 : 100);
    });
    runFfmpeg({"-i", source, "-c:v", "ffv1", movie});
}

std::vector<std::string> ScannerHomeTest::fullArguments() const {
    return {movie, "0", "2147483647", "0", "1", "16", "235", "8", "0", "4", "5", "0", "1.78"};
}

std::unique_ptr<ChildProcess>
ScannerHomeTest::start(const std::vector<std::string>& arguments) const {
    ChildProcessOptions options;
    options.path = program;
    options.arguments = arguments;
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kNull;
    auto child = ChildProcess::start(options);
    if (!child) {
        throw std::runtime_error(child.error().description);
    }
    return std::move(child).value();
}

ScannerOutcome ScannerHomeTest::run(const std::vector<std::string>& arguments) const {
    const auto child = start(arguments);
    ScannerOutcome outcome;
    while (child->readOutput(outcome.output)) {
        pollfd readable{child->outputDescriptor(), POLLIN, 0};
        ::poll(&readable, 1, -1);
    }
    outcome.end = child->wait(std::chrono::minutes(1)).value();
    return outcome;
}

} // namespace fw::test
