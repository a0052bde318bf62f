#include "support/SharedPreferences.h"

#include "platform/plist/PropertyListFile.h"
#include "support/FWLocalPaths.h"
#include "support/SuiteIdentifier.h"

#include <fmt/format.h>

namespace fw {
namespace {

/// Whether the value is a T equal to `on`.
template <typename T>
bool is(const PropertyListValue& value, const T& on) {
    const T* const content = value.get<T>();
    return content != nullptr && *content == on;
}

} // namespace

std::string SharedPreferences::path() {
    const std::string folder = FWLocalPaths::prefsDirectory(true);
    return folder.empty() ? folder : fmt::format("{}/{}.global.plist", folder, kSuiteIdentifier);
}

bool SharedPreferences::isSwitchedOn(const std::string& key) {
    const auto preferences = readPropertyList(path());
    if (!preferences) {
        return false;
    }
    const auto entry = preferences.value().find(key);
    if (entry == preferences.value().end()) {
        return false;
    }
    const PropertyListValue& value = entry->second;
    return is(value, std::string("1")) || is(value, true) || is(value, std::int64_t{1}) ||
           is(value, 1.0);
}

} // namespace fw
