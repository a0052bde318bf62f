#include "platform/connection/Introspection.h"

#include "platform/connection/Bus.h"

#include <string>

namespace fw {
namespace {

/// What follows the opening tag of an element of a name; empty when there is none.
std::string_view afterOpeningTag(std::string_view document, std::string_view element,
                                 std::string_view name) {
    for (const char quote : {'"', '\''}) {
        std::string tag = "<";
        tag.append(element).append(" name=").append(1, quote).append(name).append(1, quote);
        if (const auto place = document.find(tag); place != std::string_view::npos) {
            return document.substr(place + tag.size());
        }
    }
    return {};
}

} // namespace

bool introspectionOffersMethod(std::string_view document, std::string_view method) {
    const std::string_view rest = afterOpeningTag(document, "interface", kParentInterface);
    const std::string_view interface = rest.substr(0, rest.find("</interface>"));
    return !afterOpeningTag(interface, "method", method).empty();
}

} // namespace fw
