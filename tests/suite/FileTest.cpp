#include "tests/suite/FileTest.h"

#include <random>

namespace fw::test {

std::string someBytes(std::size_t count) {
    std::mt19937 random(static_cast<unsigned>(count));
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

std::string FileTest::longFolder(std::size_t length) const {
    std::string folder = path("d");
    while (folder.size() + 201 < length) {
        folder.append("/").append(199, 'd');
    }
    const std::size_t left = length - folder.size();
    folder.append("/").append(left - 1, 'd');
    std::filesystem::create_directories(folder);
    return folder;
}

} // namespace fw::test
