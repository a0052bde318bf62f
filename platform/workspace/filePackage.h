#pragma once

#include <string>

namespace fw {

/// Whether the path, links followed, is a folder that people are shown as one file: a bundle, by
/// its extension (app, bundle, plugin and the like) or by the file Contents/Info.plist in it. Safe
/// from any thread.
bool isFilePackage(const std::string& path);

} // namespace fw
