#include "tests/suite/AuthorizationTest.h"

#include <cerrno>
#include <sstream>
#include <sys/wait.h>

namespace fw::test {

StandInTools AuthorizationTest::recorders() const {
    // Each call is one write at the end of the record: calls at the same time stay whole.
    StandInTools tools;
    for (const char* tool : {"/bin/rm", "/bin/mv", "/bin/cp", "/bin/mkdir"}) {
        const std::string name = std::string("recorder.") + (tool + 5);
        made(name, std::string("#!/bin/sh\ncall=")
                       .append(tool)
                       .append("\nfor a; do call=\"$call [$a]\"; done\n"
                               "printf '%s\\n' \"$call\" >>\"${0%/*}/record\"\n"));
        std::filesystem::permissions(path(name), std::filesystem::perms::owner_all);
        tools[tool] = path(name);
    }
    return tools;
}

AuthorizationTest::Texts AuthorizationTest::runs() const {
    const std::string recorder = path("recorder.");
    Texts runs = elevation_.runs;
    for (std::string& run : runs) {
        if (run.starts_with(recorder)) {
            run.replace(0, recorder.size(), "/bin/");
        }
    }
    return runs;
}

AuthorizationTest::Texts AuthorizationTest::recorded() const {
    finishTools();
    Texts lines;
    std::istringstream record(contents("record"));
    for (std::string line; std::getline(record, line);) {
        lines.push_back(line);
    }
    return lines;
}

void AuthorizationTest::finishTools() {
    siginfo_t facts = {};
    waitUntil([&] { return ::waitid(P_ALL, 0, &facts, WEXITED | WNOWAIT | WNOHANG) != 0; });
}

std::vector<std::string> refusedDirectories() {
    std::vector<std::string> paths = {"/",
                                      "//",
                                      "/.",
                                      "/..",
                                      "/etc/..",
                                      "/etc/../etc",
                                      "//etc//",
                                      "/./etc/.",
                                      "/usr/../etc/",
                                      "/tmp/../../etc",
                                      "/etc/apt/../",
                                      "/bin/",
                                      "/bin//",
                                      "/usr///",
                                      "/System",
                                      "/System/",
                                      "/Users/Shared",
                                      "/Users/Shared/",
                                      "/library-folder",
                                      "/lib32",
                                      "/libx32"};
    for (const char* folder :
         {"/usr", "/var", "/bin", "/sbin", "/etc", "/boot", "/dev", "/home", "/lib", "/lib64",
          "/opt", "/proc", "/root", "/run", "/srv", "/sys"}) {
        for (const char* end : {"", "/", "//", "/.", "/./", "/x/.."}) {
            paths.push_back(std::string(folder).append(end));
        }
    }
    for (const char* end : {"", "/", "/.", "/Documents", "/Library", "/Library/"}) {
        paths.push_back(std::string(std::getenv("HOME")).append(end));
    }
    return paths;
}

} // namespace fw::test
