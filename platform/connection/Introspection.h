#pragma once

#include <string_view>

namespace fw {

/// Whether a D-Bus introspection document lists a method inside the interface of the parent.
bool introspectionOffersMethod(std::string_view document, std::string_view method);

} // namespace fw
