#include "support/authorization/trashName.h"

#include "base/text.h"

#include <array>
#include <ctime>

namespace fw {
namespace {

std::string withoutExtension(const std::string& path) {
    const std::size_t extension = pathExtension(path).size();
    return extension == 0 ? path : path.substr(0, path.size() - extension - 1);
}

std::string localTime(std::chrono::system_clock::time_point date) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
    std::tm local = {};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> text = {};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", &local);
    return {text.data(), length};
}

} // namespace

std::string datedTrashPath(const std::string& destination,
                           std::chrono::system_clock::time_point date) {
    std::string path = withoutExtension(destination);
    path.append("_").append(localTime(date)).append(".").append(pathExtension(destination));
    return path;
}

} // namespace fw
