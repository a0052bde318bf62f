#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace fw {

/// Whether nothing but files of names that do not count lies in a folder and all folders in it. A
/// folder that is missing or may not be read holds nothing; what is no folder, or cannot be seen to
/// be one, is not empty, and a link in a folder is an entry like any other. Safe from any thread.
bool isFolderWithoutFiles(const std::string& path,
                          const std::function<bool(std::string_view name)>& countsNot);

} // namespace fw
