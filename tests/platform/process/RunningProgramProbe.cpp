/// Prints the path of the file that it runs. With the argument "--gone" it removes that file first.
#include "platform/process/RunningProgram.h"

#include <cstdio>
#include <string_view>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "--gone" && ::unlink(argv[0]) != 0) {
        return 1;
    }
    std::fputs(fw::runningExecutable().c_str(), stdout);
    return 0;
}
