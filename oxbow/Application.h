#pragma once

#include "media/Asset.h"
#include "oxbow/ExitStatus.h"

#include <string>
#include <vector>

namespace fw {

/// The whole program but for the reading of movies. The arguments are without the program's name.
ExitStatus runOxbow(const std::vector<std::string>& arguments, const AssetOpener& openAsset);

} // namespace fw
