#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fw {

// What children find in their environment beside what stands in ours, which no thread could change
// while others read it. Safe from any thread.

/// From now on children that are given our environment find the variable with this value or, with
/// no value, do not find it.
void setVariableOfChildren(const std::string& name, const std::optional<std::string>& value);

/// Our environment as children are given it: "NAME=value".
std::vector<std::string> environmentOfChildren();

} // namespace fw
