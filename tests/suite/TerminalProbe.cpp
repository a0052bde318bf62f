// terminal_probe PASSWORD PROGRAM ARGUMENT...
// Runs a program on a terminal of its own, types the password whenever it is asked for one, and
// shows what the program writes. Ends with its status.
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    int terminal = -1;
    const pid_t program = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (program < 0) {
        return 3;
    }
    if (program == 0) {
        ::execv(argv[2], argv + 2);
        ::_exit(127);
    }
    const std::string line = std::string(argv[1]) + "\n";
    std::string unanswered;
    char block[4096];
    // The terminal fails instead of ending when nobody is left on it.
    for (ssize_t length = 0; (length = ::read(terminal, block, sizeof block)) > 0;) {
        std::fwrite(block, 1, static_cast<std::size_t>(length), stdout);
        unanswered.append(block, static_cast<std::size_t>(length));
        if (unanswered.find("assword for ") != std::string::npos && unanswered.ends_with(": ")) {
            unanswered.clear();
            if (::write(terminal, line.data(), line.size()) < 0) {
                return 3;
            }
        }
    }
    int status = 0;
    ::waitpid(program, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
