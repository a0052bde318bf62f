#include "platform/connection/ConnectionName.h"

namespace fw {

std::string connectionNameForMovie(const std::string& moviePath) {
    return "Oxbow - " + moviePath;
}

} // namespace fw
