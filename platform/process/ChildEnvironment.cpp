#include "platform/process/ChildEnvironment.h"

#include <unistd.h>

#include <map>
#include <mutex>
#include <string_view>

namespace fw {
namespace {

struct Changes {
    std::mutex mutex;
    std::map<std::string, std::optional<std::string>, std::less<>> variables;
};

/// Never destroyed: threads may start children while the program ends.
Changes& changes() {
    static auto* const instance = new Changes;
    return *instance;
}

} // namespace

void setVariableOfChildren(const std::string& name, const std::optional<std::string>& value) {
    const std::lock_guard lock(changes().mutex);
    changes().variables[name] = value;
}

std::vector<std::string> environmentOfChildren() {
    const std::lock_guard lock(changes().mutex);
    const auto& changed = changes().variables;
    std::vector<std::string> environment;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (!changed.contains(text.substr(0, text.find('=')))) {
            environment.emplace_back(text);
        }
    }
    for (const auto& [name, value] : changed) {
        if (value) {
            environment.push_back(name + "=" + *value);
        }
    }
    return environment;
}

} // namespace fw
