/// A tool that asks the workspace to open something and ends:
///
///     workspace_probe file APPLICATION FILE
///     workspace_probe urls IDENTIFIER FILE...
///
/// Prints the answer, "yes" or "no", and whether it has children that it would have to wait for.
#include "platform/workspace/Workspace.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv, argv + argc);
    const std::vector<std::string> files(arguments.begin() + 3, arguments.end());
    // As the scanner does, and worse: nothing of this must reach the application.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &blocked, nullptr);

    const bool isOpened = arguments[1] == "file" ? fw::openFile(files.at(0), arguments[2])
                                                 : fw::openUrls(files, arguments[2]);
    siginfo_t facts{};
    const bool hasNoChild =
        ::waitid(P_ALL, 0, &facts, WEXITED | WNOHANG | WNOWAIT) == -1 && errno == ECHILD;
    std::printf("%s%s\n", isOpened ? "yes" : "no", hasNoChild ? "" : ", with a child");
    return 0;
}
