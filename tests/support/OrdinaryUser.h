#pragma once

#include <string>
#include <vector>

namespace fw::test {

/// When this process is the superuser's, goes on as nobody: what it starts then keeps its logs in
/// the home that the test gives it, not in the machine's folder. `files` stay within reach by
/// reachable(), whatever folders they are in. Called once, before any thread starts.
void becomeOrdinaryUser(const std::vector<std::string>& files);

/// A path at which this process, but no other, can open the file.
std::string reachable(const std::string& file);

} // namespace fw::test
