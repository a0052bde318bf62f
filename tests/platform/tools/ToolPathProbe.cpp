// Prints where a tool of the suite is for a program that lies where this one does.
#include "platform/tools/toolPath.h"

#include <iostream>

int main(int argc, char** argv) {
    if (argc == 2) {
        std::cout << fw::toolPath(argv[1]);
    }
}
