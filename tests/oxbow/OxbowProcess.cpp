#include "tests/oxbow/OxbowProcess.h"

#include "tests/support/OrdinaryUser.h"
#include "tests/support/TestMovie.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace fw::test {

namespace fs = std::filesystem;

bool comesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

bool isRunning(pid_t processId) {
    // A zombie that nobody has reaped yet has ended, too.
    const std::string status = contentOf("/proc/" + std::to_string(processId) + "/stat");
    const std::size_t end = status.rfind(") ");
    return end != std::string::npos && status[end + 2] != 'Z';
}

OxbowProcess::OxbowProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::string& outputFile, const std::string& errorFile,
                           Streams streams)
    : outputFile_(outputFile), errorFile_(errorFile) {
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    processId_ = ::fork();
    if (processId_ == 0) {
        ::setpgid(0, 0); // As a shell does with what it starts.
        for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}) {
            ::signal(number, SIG_DFL); // Also where the test itself runs in the background.
        }
        constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
        ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
        ::dup2(streams.output >= 0 ? streams.output : ::open(outputFile.c_str(), kFlags, 0600),
               STDOUT_FILENO);
        ::dup2(streams.error >= 0 ? streams.error : ::open(errorFile.c_str(), kFlags, 0600),
               STDERR_FILENO);
        ::close_range(STDERR_FILENO + 1, ~0U, 0);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
}

OxbowProcess::~OxbowProcess() {
    if (!isReaped_) {
        ::kill(processId_, SIGKILL);
        wait();
    }
}

void OxbowProcess::signal(int number) const {
    ::kill(processId_, number);
}

Finished OxbowProcess::wait() {
    int status = 0;
    ::waitpid(processId_, &status, 0);
    isReaped_ = true;
    constexpr int kSignalled = 1000;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status), output(),
            error()};
}

OxbowHouse::OxbowHouse(Scanner scanner) {
    fs::create_directory(file("bin"));
    fs::copy_file(reachable(FW_OXBOW_PROGRAM), program());
    fs::copy_file(reachable(FW_PYTHON_PARENT), pythonParent());
    if (scanner != Scanner::kNone) {
        fs::copy_file(
            reachable(scanner == Scanner::kFake ? FW_FAKE_SCANNER_PROGRAM : FW_SCANNER_PROGRAM),
            file("bin/OxbowGlint"));
    }
    for (const char* name : {"run", "home"}) {
        ::mkdir(file(name).c_str(), 0700);
    }
    ::setenv("XDG_RUNTIME_DIR", file("run").c_str(), 1);
    ::setenv("HOME", file("home").c_str(), 1);
    ::setenv("FAKE_SCANNER_SCRIPT", file("script").c_str(), 1);
    movieNamed("movie.y4m");
    setScript("");
}

OxbowHouse::~OxbowHouse() {
    ::unsetenv("FAKE_SCANNER_SCRIPT");
}

std::string OxbowHouse::movieNamed(const std::string& name) const {
    writeY4m(file(name), 32, 16, 4, "25:1", [](int, TestPicture& picture) {
        picture.fillLuma(0, 0, picture.width, picture.height, 100);
    });
    return file(name);
}

void OxbowHouse::setScript(const std::string& script) const {
    std::ofstream(file("script")) << script;
}

pid_t OxbowHouse::scannerProcessId() const {
    return static_cast<pid_t>(std::atoi(contentOf(file("script.pid")).c_str()));
}

std::vector<std::string> OxbowHouse::scannerArguments() const {
    std::istringstream text(contentOf(file("script.args")));
    std::vector<std::string> arguments;
    for (std::string argument; std::getline(text, argument, '\0');) {
        arguments.push_back(argument);
    }
    return arguments;
}

std::unique_ptr<OxbowProcess> OxbowHouse::start(const std::vector<std::string>& arguments,
                                                OxbowProcess::Streams streams) const {
    const std::string number = std::to_string(started_++);
    return std::make_unique<OxbowProcess>(program(), arguments, file("output" + number),
                                          file("error" + number), streams);
}

Finished OxbowHouse::run(const std::vector<std::string>& arguments) const {
    return start(arguments)->wait();
}

bool OxbowHouse::isCleanedUp() const {
    const std::string sockets = file("run/oxbow");
    const bool hasNoSocket = !fs::exists(sockets) || fs::is_empty(sockets);
    return hasNoSocket && (scannerProcessId() == 0 || !isRunning(scannerProcessId()));
}

} // namespace fw::test
