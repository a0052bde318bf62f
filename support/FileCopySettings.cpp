#include "support/FileCopySettings.h"

namespace fw {
namespace {

template <typename T>
void addWhenPresent(std::map<std::string, std::any>& view, const char* key,
                    const std::optional<T>& value) {
    if (value) {
        view.emplace(key, *value);
    }
}

void addWhenPresent(std::map<std::string, std::any>& view, const char* key, const std::any& value) {
    if (value.has_value()) {
        view.emplace(key, value);
    }
}

} // namespace

std::map<std::string, std::any> FileCopySettings::keyValueView() const {
    std::map<std::string, std::any> view = {
        {"operationtype", operationType}, {"source", source}, {"destinations", destinations}};
    addWhenPresent(view, "delegate", delegate);
    addWhenPresent(view, "object", object);
    addWhenPresent(view, "object2", object2);
    addWhenPresent(view, "sourceChecksum", sourceChecksum);
    addWhenPresent(view, "destChecksum", destChecksum);
    addWhenPresent(view, "destChecksums", destChecksums);
    return view;
}

} // namespace fw
