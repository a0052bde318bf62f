#include "base/Version.h"

namespace fw {

std::string_view projectVersion() {
    return FW_PROJECT_VERSION;
}

} // namespace fw
